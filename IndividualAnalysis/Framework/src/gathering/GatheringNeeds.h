#pragma once

#include <vector>

#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/MeasureGroup.h>
#include <rix/individual_analysis/MeasureStatus.h>
#include <rix/individual_analysis/Quantity.h>

namespace rix::individual_analysis {

DimensionalMode modeOf(const ImageModel& labels);

/// What the passes have to gather for a request: nothing that no measure needs.
class GatheringNeeds {
public:
    /// @param intensity may be null
    GatheringNeeds(const ImageModel& labels, const ImageModel* intensity, const MeasureGroup& request);

    /// An empty table of all quantities, always in the same order.
    QuantityTable makeTable() const;

    GatheredImage image;
    std::vector<const QuantityInfo*> quantities;  ///< also those that others use
    bool neighbours = false;                      ///< whether quantities look at neighbouring rows
    bool intensity = false;                       ///< whether they need grey values
    bool values = false;                          ///< whether measures need all grey values of each object
};

}  // namespace rix::individual_analysis
