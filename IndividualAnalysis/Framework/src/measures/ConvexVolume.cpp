#include "Measures.h"

namespace rix::individual_analysis {

// Exact for the union of the voxels. One voxel and every upright box: their own volume. Unequal spacing: exact. Balls
// of radius 5 voxels and more have 12 to 35 % more than their own volume, 21 % in the mean, from 12 on 8 to 13.5 %, 11
// % in the mean: the hull passes through the corners of the voxels.
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
