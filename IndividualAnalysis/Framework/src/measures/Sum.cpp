#include "Measures.h"

namespace rix::individual_analysis {

// Not weighted with the size of a pixel. One pixel: its value. Rounding as of the mean. A NaN makes it NaN.
const MeasureDefinition sumDefinition{
    .name = "Sum",
    .description = "Sum of the grey values of the object.",
    .gathered = GATHER_INTENSITY,
    .needsIntensity = true,
    .values = {{"", "", {.intensity = 1}}},
    .compute = [](const ObjectView& object, std::span<double> values) { values[0] = object.intensity().sum; },
};

}  // namespace rix::individual_analysis
