#include "Measures.h"

namespace rix::individual_analysis {

// 1 for one pixel and upright boxes, whatever the spacing. Discs of radius 5 pixels and more have at least 0.90, of 20 at
// least 0.97: the hull cuts the steps of the outline.
const MeasureDefinition solidityDefinition{
    .name = "Solidity",
    .description = "Part of the convex hull that the object fills.",
    .values = {{"", "", {}}},
    .neededForFinalization = {"ConvexHull"},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            values[0] = static_cast<double>(object.shape().count) * object.elementSize() / object.dependency(0, 0);
        },
};

}  // namespace rix::individual_analysis
