#include "Measures.h"

namespace rix::individual_analysis {

// Independent of the spacing. One pixel: 1. Exact; of discs and balls as area and volume.
const MeasureDefinition pixelCountDefinition{
    .name = "PixelCount",
    .description = "Number of pixels (voxels) of the object.",
    .values = {{"", "", {}, vessel::ColumnType::INTEGER}},
    .compute = [](const ObjectView& object,
                  std::span<double> values) { values[0] = static_cast<double>(object.shape().count); },
};

}  // namespace rix::individual_analysis
