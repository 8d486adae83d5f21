#include "Measures.h"

namespace rix::individual_analysis {

// The value at the place p / 100 (n - 1) of the n sorted values, counted from 0, between two places by linear
// interpolation (type 7 of Hyndman and Fan 1996): 0 is the minimum, 100 the maximum. NaN is passed over. Between an
// infinite and a finite value it is the infinite one, between both infinities NaN. One pixel: its value. Exact.
const MeasureDefinition percentileDefinition{
    .name = "Percentile",
    .description = "Grey value below which that percentage of the object's values lies.",
    .type = MeasureProcessingType::Values,
    .needsIntensity = true,
    .values = {{"", "", {.intensity = 1}}},
    .neededForProcessing = {"PixelCount"},
    .compute = [](const ObjectView& object,
                  std::span<double> values) { values[0] = object.percentile(object.parameter()); },
};

}  // namespace rix::individual_analysis
