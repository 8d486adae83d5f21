#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/Export.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/Plan.h>

// For what spreads through whole images to a fixed point: reconstruction, flooding, distances along paths.

namespace rix::access {

/// Which of the up to 26 blocks around a block are meant: a bit each.
using NeighbourSet = std::uint32_t;

/// The block that lies so many blocks (-1, 0 or 1) further on each axis.
constexpr NeighbourSet neighbourAt(int column, int row, int plane) {
    return NeighbourSet{1} << static_cast<unsigned>((plane + 1) * 9 + (row + 1) * 3 + column + 1);
}

/// What spreading work needs.
struct ExchangeNeeds {
    std::size_t axes = 2;           ///< on which it spreads: 2 (planes by themselves) or 3 (volumes by themselves)
    std::size_t bytesPerVoxel = 1;  ///< that a block touches of each voxel
    double nanosecondsPerVoxel = 1.0;
};

/// Tiles, for work that spreads: blocks about as wide as high (and deep) whose voxels fit half a level-2 cache.
/// Settings don't change them.
/// @throws UnexpectedError when there are more elements than 64 bits can count
RIX_EXPORT Plan cutTiles(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const ExchangeNeeds& needs);

/// Calls `body(block, isFirst)` for every tile until nothing changes any more.
///
/// The body changes voxels of its block only; of others it may read those that touch the block, also at corners. It
/// takes what they have to give, spreads it in its block, and returns to which of the blocks around it has something to
/// give now: those are visited (again). `isFirst` tells the first visit of a block, which all get.
///
/// Blocks that touch are never visited at the same time: a round visits them by the parity of their places, each colour
/// in parallel. So there is no race, and which blocks are visited when depends on the tiles alone; with a fixed point
/// that is unique, the result does not even depend on these. The call is one step of the run.
/// @throws ExceptionCancelation, before any visit, when the run was asked to stop
RIX_EXPORT void exchangeUntilStable(ExecutionContext& context, const Plan& tiles, std::size_t axes,
                                    FunctionRef<NeighbourSet(const Block&, bool)> body);

}  // namespace rix::access
