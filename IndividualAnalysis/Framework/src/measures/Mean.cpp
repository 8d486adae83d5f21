#include "Measures.h"

#include "quantities/GreyQuantities.h"

namespace rix::individual_analysis {

// One pixel: its value. Of integers of 8 and 16 bits the sum is exact up to 2^53; other types lose at most a few units
// in the last place for each of the bands of rows that the image is summed in. A NaN makes it NaN.
const MeasureDefinition meanDefinition{
    .name = "Mean",
    .description = "Mean grey value of the object.",
    .quantities = {&GreySumQuantity::info},
    .needsIntensity = true,
    .values = {{"", "", {.intensity = 1}}},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            values[0] = object.gathered<GreySumQuantity>() / static_cast<double>(object.shape().count);
        },
};

}  // namespace rix::individual_analysis
