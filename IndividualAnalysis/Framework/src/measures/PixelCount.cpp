#include "Measures.h"

namespace rix::individual_analysis {

// Exact, independent of the spacing.
const MeasureDefinition pixelCountDefinition{
    .name = "PixelCount",
    .description = "Number of pixels (voxels) of the object.",
    .values = {{"", "", {}, vessel::ColumnType::INTEGER}},
    .compute = [](const ObjectView& object,
                  std::span<double> values) { values[0] = static_cast<double>(object.shape().count); },
};

}  // namespace rix::individual_analysis
