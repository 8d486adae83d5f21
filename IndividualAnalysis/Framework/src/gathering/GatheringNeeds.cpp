#include "GatheringNeeds.h"

#include <rix/individual_analysis/ShapeQuantity.h>

namespace rix::individual_analysis {

DimensionalMode modeOf(const ImageModel& labels) {
    return labels.getNumOf(PLANS) > 1 ? DimensionalMode::Mode3d : DimensionalMode::Mode2d;
}

GatheringNeeds::GatheringNeeds(const ImageModel& labels, const ImageModel* intensityImage, const MeasureGroup& request)
    : image{labels.getNumOf(COLUMNS), labels.getNumOf(ROWS), labels.getNumOf(PLANS),
            intensityImage != nullptr ? intensityImage->getNumOf(SPECTRAL_SERIES) : 1},
      quantities{&ShapeQuantity::info} {
    MeasureIdSet needed;
    request.collectNeededMeasureIds(modeOf(labels), needed);
    for (const auto& id : needed) {
        const MeasureAttributes attributes = id->getMeasureAttributes(modeOf(labels));
        quantities.insert(quantities.end(), attributes.quantities.begin(), attributes.quantities.end());
        values = values || attributes.processingType == MeasureProcessingType::Values;
    }
    // A table knows what its quantities use.
    const QuantityTable table = makeTable();
    quantities.clear();
    for (const QuantityTable::Entry& entry : table.entries()) {
        quantities.push_back(entry.info);
        neighbours = neighbours || entry.info->needsNeighbours;
        intensity = intensity || entry.info->needsIntensity;
    }
}

QuantityTable GatheringNeeds::makeTable() const {
    QuantityTable table(image);
    for (const QuantityInfo* const info : quantities) {
        table.use(*info);
    }
    return table;
}

}  // namespace rix::individual_analysis
