#include "Measures.h"

namespace rix::individual_analysis {

// Exact for the union of the pixels: one pixel and every upright box have their own area. A disc has a little more than its
// own, because the hull passes through corners of pixels.
const MeasureDefinition convexAreaDefinition{
    .name = "ConvexArea",
    .description = "Area of the object's convex hull.",
    .type = MeasureProcessingType::None,
    .existence = Existence::Only2d,
    .values = {{"", "", {.length = 2}}},
    .neededForFinalization = {"ConvexHull"},
    .compute = [](const ObjectView& object, std::span<double> values) { values[0] = object.dependency(0, 0); },
};

}  // namespace rix::individual_analysis
