#include "Measures.h"

namespace rix::individual_analysis {

// Exact for the union of the pixels: one pixel and every upright box have their own volume. A ball has a little more than its
// own, because the hull passes through corners of pixels.
const MeasureDefinition convexVolumeDefinition{
    .name = "ConvexVolume",
    .description = "Volume of the object's convex hull.",
    .type = MeasureProcessingType::None,
    .existence = Existence::Only3d,
    .values = {{"", "", {.length = 3}}},
    .neededForFinalization = {"ConvexHull"},
    .compute = [](const ObjectView& object, std::span<double> values) { values[0] = object.dependency(0, 0); },
};

}  // namespace rix::individual_analysis
