#include "Measures.h"

namespace rix::individual_analysis {

// Exact for the union of the voxels. One voxel: the volume of one. Unequal spacing: exact. Balls of radius 5 voxels and
// more: -8.5 to +8 %, the mean over places and radii within 0.2 %; from 12 on within 2.5 % and 0.2 %.
const MeasureDefinition volumeDefinition{
    .name = "Volume",
    .description = "Volume of the object: the number of voxels times the volume of one.",
    .existence = Existence::Only3d,
    .values = {{"", "", {.length = 3}}},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            values[0] = static_cast<double>(object.shape().count) * object.elementSize();
        },
};

}  // namespace rix::individual_analysis
