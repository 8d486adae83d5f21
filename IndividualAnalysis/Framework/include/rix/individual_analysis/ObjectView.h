#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <rix/Export.h>
#include <rix/individual_analysis/LabelImageInfo.h>
#include <rix/individual_analysis/MeasureResults.h>
#include <rix/individual_analysis/Quantity.h>
#include <rix/individual_analysis/ShapeQuantity.h>

namespace rix::individual_analysis {

class GreyValues;

/// What the passes over the images gathered of one frame, for one measure.
struct MeasuredFrame {
    struct Gathered {
        const QuantityInfo* info;
        const Quantity* quantity;
    };

    const ShapeQuantity* shape = nullptr;
    std::vector<Gathered> quantities{};  ///< those that the measure asked for
    const GreyValues* values = nullptr;  ///< null unless the measure is one of `MeasureProcessingType::Values`
};

/// One object as the function that computes a measure sees it.
class RIX_EXPORT ObjectView {
public:
    ObjectView(const MeasuredFrame& frame, const LabelImageInfo& image,
               std::span<const MeasureResults* const> dependencies, std::span<const double> constants,
               std::size_t sequence, std::size_t index, std::size_t channel, double parameter)
        : m_frame(frame),
          m_image(image),
          m_dependencies(dependencies),
          m_constants(constants),
          m_sequence(sequence),
          m_index(index),
          m_channel(channel),
          m_parameter(parameter) {}

    bool inSpace() const { return m_image.dimensionalMode == DimensionalMode::Mode3d; }
    /// The axes that objects extend along: 2 or 3.
    std::size_t axes() const { return inSpace() ? 3 : 2; }
    double spacing(std::size_t axis) const { return m_image.calibration.m_spacingOf[axis]; }
    double origin(std::size_t axis) const { return m_image.calibration.m_originOf[axis]; }
    std::size_t extent(std::size_t axis) const { return m_image.calibration.m_numOf[axis]; }
    /// Area or volume of one element.
    double elementSize() const { return spacing(0) * spacing(1) * (inSpace() ? spacing(2) : 1.0); }

    const ShapeSums& shape() const { return m_frame.shape->of(m_index); }
    /// What a quantity of the measure's definition gathered of the object, in the present channel.
    /// @throws InvalidCall when the definition does not name it.
    template <class Q>
    decltype(auto) gathered() const {
        return static_cast<const Q&>(find(Q::info)).of(m_index, m_channel);
    }
    /// Of the object's grey values in the present channel, see the measure "Percentile"; for measures of
    /// `MeasureProcessingType::Values`.
    double percentile(double percentage) const;

    /// A value of the measure that the definition names at `which` among its dependencies: those for processing first.
    double dependency(std::size_t which, std::size_t component = 0) const {
        return m_dependencies[which]->values(m_sequence, m_index, m_channel)[component];
    }
    /// What the measure prepared once for all objects.
    std::span<const double> constants() const { return m_constants; }
    /// The number in the measure's name: 25 of "Percentile(25)".
    double parameter() const { return m_parameter; }
    std::size_t index() const { return m_index; }
    std::size_t channel() const { return m_channel; }

private:
    const Quantity& find(const QuantityInfo& info) const {
        for (const MeasuredFrame::Gathered& gathered : m_frame.quantities) {
            if (gathered.info == &info) {
                return *gathered.quantity;
            }
        }
        refuse(info);
    }
    [[noreturn]] static void refuse(const QuantityInfo& info);

    const MeasuredFrame& m_frame;
    const LabelImageInfo& m_image;
    std::span<const MeasureResults* const> m_dependencies;
    std::span<const double> m_constants;
    std::size_t m_sequence;
    std::size_t m_index;
    std::size_t m_channel;
    double m_parameter;
};

}  // namespace rix::individual_analysis
