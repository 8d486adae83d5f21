#include "Measures.h"

#include <limits>

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    const IntensitySums& sums = object.intensity();
    // Nothing but NaN leaves an empty interval.
    values[0] = sums.minimum <= sums.maximum ? sums.maximum : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

// NaN is passed over; where nothing else is, the maximum is NaN. One pixel: its value. Exact.
const MeasureDefinition maximumDefinition{
    .name = "Maximum",
    .description = "Largest grey value of the object.",
    .gathered = GATHER_INTENSITY,
    .needsIntensity = true,
    .values = {{"", "", {.intensity = 1}}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
