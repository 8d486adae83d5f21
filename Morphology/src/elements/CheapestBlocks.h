#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include <rix/access/BlockSize.h>
#include <rix/access/Plan.h>

namespace rix::morphology {

/// The extents that blocks may have: columns, rows and planes from the least on, doubled up to the most.
struct BlockSteps {
    std::array<std::size_t, 3> least;
    std::array<std::size_t, 3> most;
    std::size_t grain = 1;  ///< columns are multiples of it
};

struct BlockCost {
    double nanosecondsPerResult = 0;
    bool isTooLarge = false;  ///< only where nothing smaller can be had
};

/// To begin a row where it is in memory, in nanoseconds.
inline constexpr double perRowStart = 300;

/// The most voxels of a block, so that there is work for many threads.
inline constexpr std::size_t mostBlockVoxels = std::size_t{1} << 20;

/// Cuts images into the blocks that cost least. @param costOf gives the cost of blocks of so many voxels
template <class CostOf>
access::Plan cutIntoCheapest(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const BlockSteps& steps,
                             const CostOf& costOf) {
    std::array<std::size_t, 3> best{};
    double lowest = std::numeric_limits<double>::infinity();
    // Steps that the one before has taken beyond the image already give the same block again.
    const auto isNew = [&](std::size_t axis, std::size_t step) {
        return step == steps.least[axis] || access::scaledToBlocks(step / 2) < extents[axis];
    };
    const auto length = [&](std::size_t axis, std::size_t step) {
        return std::min(access::scaledToBlocks(step), extents[axis]);
    };
    for (std::size_t x = steps.least[0]; x <= steps.most[0] && isNew(0, x); x *= 2) {
        for (std::size_t y = steps.least[1]; y <= steps.most[1] && isNew(1, y); y *= 2) {
            for (std::size_t z = steps.least[2]; z <= steps.most[2] && isNew(2, z); z *= 2) {
                const std::size_t columns = (length(0, x) + steps.grain - 1) / steps.grain * steps.grain;
                const std::array<std::size_t, 3> voxels{columns, length(1, y), length(2, z)};
                const BlockCost cost = costOf(voxels);
                const bool isFirst = lowest == std::numeric_limits<double>::infinity();
                if ((isFirst || !cost.isTooLarge) && cost.nanosecondsPerResult < lowest) {
                    lowest = cost.nanosecondsPerResult;
                    best = voxels;
                }
            }
        }
    }
    access::Plan plan(extents, access::JoinedAxes::None);
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        plan.cut(axis, {.step = best[axis]});
    }
    plan.cut(SEQUENCE, {.step = 1});
    plan.cut(SPECTRAL_SERIES, {.step = 1});
    return plan;
}

}  // namespace rix::morphology
