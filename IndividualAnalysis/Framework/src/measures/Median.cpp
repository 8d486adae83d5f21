#include "Measures.h"

namespace rix::individual_analysis {

// The 50th percentile: between two values their mean. NaN is passed over. One pixel: its value. Exact.
const MeasureDefinition medianDefinition{
    .name = "Median",
    .description = "Median grey value of the object.",
    .type = MeasureProcessingType::Values,
    .needsIntensity = true,
    .values = {{"", "", {.intensity = 1}}},
    .neededForProcessing = {"PixelCount"},
    .compute = [](const ObjectView& object, std::span<double> values) { values[0] = object.percentile(50.0); },
};

}  // namespace rix::individual_analysis
