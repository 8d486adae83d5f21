#include "Measures.h"

#include <limits>

#include "quantities/GreyQuantities.h"

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    const GreyExtrema& extrema = object.gathered<GreyExtremaQuantity>();
    // Nothing but NaN leaves an empty interval.
    values[0] = extrema.minimum <= extrema.maximum ? extrema.minimum : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

// NaN is passed over; where nothing else is, the minimum is NaN. One pixel: its value. Exact.
const MeasureDefinition minimumDefinition{
    .name = "Minimum",
    .description = "Smallest grey value of the object.",
    .quantities = {&GreyExtremaQuantity::info},
    .needsIntensity = true,
    .values = {{"", "", {.intensity = 1}}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
