#include "Measures.h"

#include <cmath>
#include <numbers>

namespace rix::individual_analysis {

// Wadell 1935. One voxel of side 1: 1.61, which shows that objects of a few voxels exceed 1. Balls of radius 5 and
// more: -2 to +3 %, mean within 0.7 %, from 12 on -1 to +1.5 %, mean within 0.2 %, with unequal spacing as well. The
// bias follows that of the surface area.
const MeasureDefinition sphericityDefinition{
    .name = "Sphericity",
    .description =
        "Surface of the ball of the object's volume divided by the object's surface (Wadell): 1 for a ball, "
        "less for everything else.",
    .type = MeasureProcessingType::None,
    .existence = Existence::Only3d,
    .values = {{"", "", {}}},
    .neededForFinalization = {"Volume", "SurfaceArea"},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            const double root = std::cbrt(6.0 * object.dependency(0));
            values[0] = std::cbrt(std::numbers::pi) * root * root / object.dependency(1);
        },
};

}  // namespace rix::individual_analysis
