#include "Measures.h"

#include "quantities/GreyQuantities.h"

namespace rix::individual_analysis {

// Not weighted with the size of a pixel. One pixel: its value. Rounding as of the mean. A NaN makes it NaN.
const MeasureDefinition sumDefinition{
    .name = "Sum",
    .description = "Sum of the grey values of the object.",
    .quantities = {&GreySumQuantity::info},
    .needsIntensity = true,
    .values = {{"", "", {.intensity = 1}}},
    .compute = [](const ObjectView& object,
                  std::span<double> values) { values[0] = object.gathered<GreySumQuantity>(); },
};

}  // namespace rix::individual_analysis
