#include "Measures.h"

#include <limits>

#include "quantities/GreyQuantities.h"
#include "quantities/WeightedPositionQuantity.h"

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    const double weight = object.gathered<GreySumQuantity>();
    const WeightedPosition& weighted = object.gathered<WeightedPositionQuantity>();
    for (std::size_t axis = 0; axis < object.axes(); ++axis) {
        values[axis] = weight != 0.0 ? object.origin(axis) + weighted[axis] / weight * object.spacing(axis)
                                     : std::numeric_limits<double>::quiet_NaN();
    }
}

}  // namespace

// Pixels weigh their grey value, negative ones negatively; where the weights sum to 0 there is no centre: NaN. One
// pixel: its position. Unequal spacing: exact.
const MeasureDefinition weightedBarycenterDefinition{
    .name = "WeightedBarycenter",
    .description = "Centre of mass of the object, each pixel weighing its grey value.",
    .quantities = {&GreySumQuantity::info, &WeightedPositionQuantity::info},
    .needsIntensity = true,
    .values = {{"X", "Along the columns.", {.length = 1}},
               {"Y", "Along the rows.", {.length = 1}},
               {"Z", "Along the planes.", {.length = 1}, vessel::ColumnType::REAL, Existence::Only3d}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
