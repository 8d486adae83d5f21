#include <algorithm>

#include <rix/access/Plan.h>

#include "Access/Cutting.h"

namespace rix::access {

Plan cutBands(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const BandNeeds& needs) {
    Plan plan(extents, needs.joined);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    plan.setSmall(isSmallWork(plan.voxelCount(), needs.nanosecondsPerVoxel));
    const auto& grid = plan.gridExtents();
    const std::size_t extent = grid[needs.axis];
    const std::size_t bands = std::min(extent / std::max<std::size_t>(needs.elements, 1), needs.mostBands);
    plan.cut(needs.axis, {std::clamp<std::size_t>(bands, 1, ceilDivide(extent, needs.group)), 0, needs.group});
    for (int axis = needs.axis + 1; axis <= SPECTRAL_SERIES; ++axis) {
        plan.cut(static_cast<Components>(axis), {grid[static_cast<std::size_t>(axis)], 0, 1});
    }
    return plan;
}

}  // namespace rix::access
