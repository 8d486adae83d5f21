#include "Measures.h"

namespace rix::individual_analysis {

// One pixel and upright boxes: 1, whatever the spacing. Discs of radius 5 pixels and more: 0.85 to 0.97, from 15 on
// 0.94 to 0.985; balls of radius 5 and more: 0.73 to 0.905, from 12 on 0.865 to 0.92: the hull cuts the steps of the
// outline.
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
