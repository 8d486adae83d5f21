#include "Measures.h"

#include <cmath>

#include "quantities/GreyQuantities.h"

namespace rix::individual_analysis {

// That of the object's pixels themselves (divided by their number n, not n - 1): one pixel has 0. Sums of squares are
// taken about a value of the object and joined about the mean (Chan, Golub and LeVeque 1979), so that a large mean
// costs no digits. A NaN makes it NaN.
const MeasureDefinition standardDeviationDefinition{
    .name = "StandardDeviation",
    .description = "Standard deviation of the grey values of the object.",
    .quantities = {&GreySquaresQuantity::info},
    .needsIntensity = true,
    .values = {{"", "", {.intensity = 1}}},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            values[0] = std::sqrt(object.gathered<GreySquaresQuantity>() / static_cast<double>(object.shape().count));
        },
};

}  // namespace rix::individual_analysis
