#include "Measures.h"

namespace rix::individual_analysis {

// Voxels times the volume of one. One voxel: that volume. Without bias: the mean over balls of all centres is
// 4/3 pi r^3.
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
