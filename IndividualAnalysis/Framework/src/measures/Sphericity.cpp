#include "Measures.h"

#include <cmath>
#include <numbers>

namespace rix::individual_analysis {

// Bias follows the surface area: balls of radius 5 and more are met within 3 %, small objects exceed 1 (one voxel of
// side 1: 1.61).
const MeasureDefinition sphericityDefinition{
    .name = "Sphericity",
    .description = "Surface of the ball of the object's volume divided by the object's surface (Wadell): 1 for a ball, "
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
