#include "Measures.h"

#include <numbers>

namespace rix::individual_analysis {

// Bias follows the perimeter: discs of radius 5 and more are met within 4 %, small objects exceed 1 (one pixel of side
// 1: 1.747).
const MeasureDefinition circularityDefinition{
    .name = "Circularity",
    .description = "4 pi area / perimeter^2: 1 for a disc, less for everything else.",
    .type = MeasureProcessingType::None,
    .existence = Existence::Only2d,
    .values = {{"", "", {}}},
    .neededForFinalization = {"Area", "Perimeter"},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            const double perimeter = object.dependency(1);
            values[0] = 4.0 * std::numbers::pi * object.dependency(0) / (perimeter * perimeter);
        },
};

}  // namespace rix::individual_analysis
