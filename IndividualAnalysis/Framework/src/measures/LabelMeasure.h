#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <rix/individual_analysis/BaseMeasure.h>
#include <rix/individual_analysis/BaseMeasureUniqueId.h>

#include "gathering/ObjectTable.h"

namespace rix::individual_analysis {

class GreyValues;

/// What the passes over the images gathered of one frame; measures read it.
struct GatheredFrame {
    const ObjectTable* objects = nullptr;
    const GreyValues* values = nullptr;  ///< null unless a measure asked for them
};

/// One object as the function that computes a measure sees it.
class ObjectView {
public:
    ObjectView(const GatheredFrame& frame, const LabelImageInfo& image,
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

    const ShapeSums& shape() const { return m_frame.objects->shape[m_index]; }
    const SecondMoments& second() const { return m_frame.objects->second[m_index]; }
    const ContactSums& contacts() const { return m_frame.objects->contacts[m_index]; }
    const IntensitySums& intensity() const { return m_frame.objects->intensity[place()]; }
    const WeightedPosition& weighted() const { return m_frame.objects->weighted[place()]; }
    /// First and last pixel of each row, in raster order.
    std::span<const OutlineRow> outline() const {
        const auto& begins = m_frame.objects->outlineBegins;
        return std::span(m_frame.objects->outline).subspan(begins[m_index], begins[m_index + 1] - begins[m_index]);
    }
    const GreyValues& values() const { return *m_frame.values; }

    /// A value of the measure that the definition names at `which` among its dependencies.
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
    std::size_t place() const { return m_index * m_frame.objects->channels() + m_channel; }

    const GatheredFrame& m_frame;
    const LabelImageInfo& m_image;
    std::span<const MeasureResults* const> m_dependencies;
    std::span<const double> m_constants;
    std::size_t m_sequence;
    std::size_t m_index;
    std::size_t m_channel;
    double m_parameter;
};

/// Writes the values of a measure of one object.
using ComputeMeasure = void (*)(const ObjectView& object, std::span<double> values);

/// Where a measure or one of its values exists.
enum class Existence : std::uint8_t { Everywhere, Only2d, Only3d };
constexpr bool existsIn(Existence existence, DimensionalMode mode) {
    return existence == Existence::Everywhere || (existence == Existence::Only2d) == (mode == DimensionalMode::Mode2d);
}

/// One value of a measure.
struct ValueDefinition {
    const char* suffix;
    const char* description;
    Dimension dimension;
    vessel::ColumnType type = vessel::ColumnType::REAL;
    Existence existence = Existence::Everywhere;
    const char* unit = "";
};

/// All that makes a measure. Each lies in a file of its own, beside the function that computes it.
struct MeasureDefinition {
    const char* name;
    const char* description;
    std::uint32_t gathered = GATHER_NOTHING_MORE;
    MeasureProcessingType type = MeasureProcessingType::Runs;
    bool needsIntensity = false;
    Existence existence = Existence::Everywhere;
    std::vector<ValueDefinition> values;
    std::vector<const char*> neededForProcessing{};
    std::vector<const char*> neededForFinalization{};
    ComputeMeasure compute = nullptr;
    std::vector<double> (*prepare)(const LabelImageInfo& image) = nullptr;  ///< what holds for all objects; may be null
};

/// The identifier of a defined measure.
class LabelMeasureId : public BaseMeasureUniqueId {
public:
    /// @param definition lives as long as the process
    /// @param parameter the number in the name of a member of a family
    LabelMeasureId(const MeasureDefinition& definition, const String& nativeName, double parameter);
    explicit LabelMeasureId(const MeasureDefinition& definition) : LabelMeasureId(definition, definition.name, 0.0) {}

    const MeasureDefinition& definition() const { return m_definition; }
    double parameter() const { return m_parameter; }

    bool supports(DimensionalMode mode) const override;
    MeasureAttributes getMeasureAttributes(DimensionalMode mode) const override;
    std::shared_ptr<BaseMeasure> createMeasure(const std::shared_ptr<const MeasureNamesHandler>& namesHandler,
                                               const MeasureSet& set) const override;
    void addDirectDependencies(const MeasureNamesHandler& namesHandler, DimensionalMode mode,
                               DependencyProcessingStep step, MeasureIdSet& dependencies) const override;

private:
    const MeasureDefinition& m_definition;
    double m_parameter;
};

/// A measure that is computed object by object from what the passes gathered and from other measures.
class LabelMeasure : public BaseMeasure {
public:
    LabelMeasure(const std::shared_ptr<const LabelMeasureId>& id,
                 const std::shared_ptr<const MeasureNamesHandler>& namesHandler, const MeasureSet& set);

    /// Shows the measure what was gathered, frame by frame. It must outlive the finalization.
    void setGathered(std::span<const GatheredFrame> frames) { m_frames = frames; }

protected:
    void setDependenciesAccessors() override;
    void startFinalizationDerived() override;
    void finalizeDerived(unsigned long sequence, unsigned long first, unsigned long last) override;
    void clearDerived() override;

private:
    std::shared_ptr<const LabelMeasureId> m_id;
    std::span<const GatheredFrame> m_frames;
    std::vector<double> m_constants;
    std::vector<const MeasureResults*> m_dependencies;  ///< those for processing, then those for finalization
};

}  // namespace rix::individual_analysis
