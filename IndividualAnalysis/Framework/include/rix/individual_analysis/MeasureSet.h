#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

#include <rix/Export.h>
#include <rix/individual_analysis/BaseMeasure.h>
#include <rix/individual_analysis/LabelImageInfo.h>
#include <rix/individual_analysis/MeasureGroup.h>
#include <rix/individual_analysis/MeasureStatus.h>

namespace rix::individual_analysis {

struct MeasureSetPrivate;

/// All measures of one analysis: those that were asked for and what they depend on. Iteration is always in the order of
/// the identifiers.
class RIX_EXPORT MeasureSet {
public:
    using Measures = std::map<std::shared_ptr<const BaseMeasureUniqueId>, std::shared_ptr<BaseMeasure>, MeasureIdLess>;

    MeasureSet(std::shared_ptr<const MeasureGroup> group, LabelImageInfo imageInfo);
    ~MeasureSet();
    MeasureSet(const MeasureSet&) = delete;
    MeasureSet& operator=(const MeasureSet&) = delete;

    const std::shared_ptr<const MeasureGroup>& getMeasureGroup() const;
    const std::shared_ptr<const LabelImageInfo>& getImageInfo() const;
    /// Objects of a sequence plane. @throws BadIndex when there is no such plane; so does the next.
    std::size_t getNumLabels(std::size_t plane) const;
    /// The largest label of a sequence plane.
    std::uint32_t getLabelSize(std::size_t plane) const;
    std::size_t getNumSequencePlanes() const;
    std::size_t getNumSpectralPlanes() const;
    const ImageCalibration& getLabelImageCalibration() const;
    DimensionalMode getDimensionalMode() const;

    const Measures& getMeasures() const;
    /// The measure of that identifier, or null.
    std::shared_ptr<BaseMeasure> findMeasure(const std::shared_ptr<const BaseMeasureUniqueId>& id) const;

    /// Creates every needed measure and hands each its dependencies.
    /// @throws RuntimeError when a dependency is not in the set.
    void setupDependencies();
    /// Initialises the measures in the order of their dependencies, then tells each that all have results.
    /// @throws UnexpectedError when measures depend on each other in a circle.
    void initMeasures();

    std::size_t getNumMeasures(MeasureProcessingStatus status) const;
    /// True when a measure of that type waits for the image passes and can start.
    bool hasMeasuresReadyForProcessing(MeasureProcessingType type) const;

private:
    /// Measures that depend on each other in a circle own each other; such measures are never initialised.
    static void releaseCircles(const Measures& measures);

    std::unique_ptr<MeasureSetPrivate> m_private;
};

}  // namespace rix::individual_analysis
