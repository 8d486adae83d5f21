#include <algorithm>

#include <rix/access/Plan.h>

#include "Access/Cutting.h"

namespace rix::access {

namespace {

/// Blocks are at least this many times as high and deep as what they read beyond themselves.
constexpr std::size_t reachFactor = 4;

/// What the cut works with. Doubles, because a reach beyond all measure must not wrap.
struct Sizes {
    double windowColumns;
    double windowRows;
    double windowPlanes;
    double heldBytes;    ///< of a voxel in a window
    double streamBytes;  ///< of a voxel in all inputs and outputs
    double outputBytes;
    double longestVoxels;  ///< of a block that does not take too long

    double columnReach() const { return windowColumns - 1; }
};

/// The whole number in [1, most] below a quotient.
std::size_t countOf(double quotient, std::size_t most) {
    return quotient >= static_cast<double>(most) ? most : std::max<std::size_t>(1, static_cast<std::size_t>(quotient));
}

double asDouble(std::size_t value) {
    return static_cast<double>(value);
}

// Windows without state ----------------------------------------------------------------------------------------------

std::size_t largestPiece(const Sizes& sizes, std::size_t columns) {
    const double windowBytes = sizes.windowRows * sizes.windowPlanes * sizes.heldBytes;
    if ((asDouble(columns) + sizes.columnReach()) * windowBytes <= asDouble(blockBytes())) {
        return columns;
    }
    const double fitting = asDouble(blockBytes()) / windowBytes - sizes.columnReach();
    return countOf(std::max({fitting, asDouble(shortestPiece()), reachFactor * sizes.columnReach()}), columns);
}

std::size_t bandHeight(const Sizes& sizes, double pieceLength, std::size_t rows) {
    const double rowReach = sizes.windowRows - 1;
    const double heldRowBytes = sizes.windowPlanes * (pieceLength + sizes.columnReach()) * sizes.heldBytes;
    const double fitting = sizes.windowPlanes > 1
                               ? asDouble(blockBytes()) / (heldRowBytes + pieceLength * sizes.outputBytes) - rowReach
                               : asDouble(blockBytes()) / (pieceLength * sizes.streamBytes);
    return countOf(std::min(std::max(fitting, reachFactor * rowReach), sizes.longestVoxels / pieceLength), rows);
}

std::size_t bandDepth(const Sizes& sizes, double planeVoxels, bool wholePlanes, std::size_t planes) {
    const double planeReach = sizes.windowPlanes - 1;
    // A block of part of a plane is large enough; small planes are put together.
    const double fitting =
        wholePlanes || planeReach > 0 ? asDouble(blockBytes()) / (planeVoxels * sizes.streamBytes) : 1.0;
    return countOf(std::min(std::max(fitting, reachFactor * planeReach), sizes.longestVoxels / planeVoxels), planes);
}

/// A part of an axis that is whole chunks.
std::size_t alongChunks(std::size_t part, std::size_t chunk, std::size_t extent) {
    return std::min(std::max(part / chunk, std::size_t{1}) * chunk, extent);
}

/// As many voxels as without chunks or those of one, where they don't take too long.
void cutWindowsAlong(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& chunk, Plan& plan, const Sizes& sizes) {
    const auto& n = plan.gridExtents();
    const std::size_t longest = countOf(sizes.longestVoxels, largestPiece(sizes, n[COLUMNS]));
    const std::size_t piece = alongChunks(longest, chunk[COLUMNS], n[COLUMNS]);
    const auto height = alongChunks(bandHeight(sizes, asDouble(piece), n[ROWS]), chunk[ROWS], n[ROWS]);
    const double area = asDouble(piece) * asDouble(height);
    const bool wholePlanes = height == n[ROWS] && piece == n[COLUMNS];
    std::size_t depth = alongChunks(bandDepth(sizes, area, wholePlanes, n[PLANS]), chunk[PLANS], n[PLANS]);
    depth = countOf(sizes.longestVoxels / area, depth);
    const std::size_t rows = countOf(sizes.longestVoxels / (asDouble(piece) * asDouble(depth)), height);
    plan.cut(COLUMNS, {1, piece});
    plan.cut(ROWS, {1, rows < height ? ceilDivide(height, ceilDivide(height, rows)) : height});
    plan.cut(PLANS, {1, depth});
}

void cutWindows(Plan& plan, const Sizes& sizes, PartitionMode mode) {
    const auto& n = plan.gridExtents();
    std::size_t piece = n[COLUMNS];
    std::size_t height = n[ROWS];
    if (mode == RIX_PARTITION_ONLY_COLUMNS) {
        const double voxels = std::min(asDouble(blockBytes()) / sizes.streamBytes, sizes.longestVoxels);
        piece = countOf(
            std::max({voxels / asDouble(n[ROWS]), asDouble(shortestPiece()), reachFactor * sizes.columnReach()}),
            n[COLUMNS]);
    } else {
        piece = mode == RIX_PARTITION_ONLY_ROWS ? n[COLUMNS] : largestPiece(sizes, n[COLUMNS]);
        height = bandHeight(sizes, asDouble(piece), n[ROWS]);
    }
    const bool wholePlanes = height == n[ROWS] && piece == n[COLUMNS];
    const std::size_t depth = bandDepth(sizes, asDouble(piece) * asDouble(height), wholePlanes, n[PLANS]);
    plan.cut(COLUMNS, {ceilDivide(n[COLUMNS], piece), 0, 1});
    plan.cut(ROWS, {ceilDivide(n[ROWS], height), 0, 1});
    plan.cut(PLANS, {ceilDivide(n[PLANS], depth), 0, 1});
}

// Carried state ------------------------------------------------------------------------------------------------------

/// The size of parts of at least `wanted`, all but the last of the same size; an even number of them, which two threads
/// share without one waiting for the other.
std::size_t stepFor(std::size_t extent, std::size_t wanted, std::size_t group) {
    const std::size_t parts = extent / std::max<std::size_t>(wanted, 1);
    return ceilDivide(ceilDivide(extent, parts > 1 ? parts - parts % 2 : 1), group) * group;
}

/// A part that begins its state anew has to go through the first window: parts are long against windows. There are some
/// eight of them as long as none is shorter than three windows, and two after that.
std::size_t wantedFor(std::size_t extent, std::size_t window, std::size_t least) {
    const std::size_t eighth = ceilDivide(extent, 8);
    const std::size_t longEnough = std::min(3 * window, ceilDivide(extent, 2));
    return std::max(least, std::min(16 * window, std::max(longEnough, eighth)));
}

void cutCarried(Plan& plan, const Reach& reach, const Carried& carried, PartitionMode mode) {
    const auto& n = plan.gridExtents();
    // A window beyond the image is one over all of it: products of extents stay in 64 bits.
    const auto windowOf = [&](const Reach::Axis& axis, Components component) {
        return std::min(axis.sum(), 2 * n[component]) + 1;
    };
    const std::size_t windowRows = windowOf(reach.rows, ROWS);
    std::size_t columnStep = n[COLUMNS];
    if (mode != RIX_PARTITION_ONLY_ROWS) {
        // Only long rows are cut: windows reach over the cuts, and what lies there is computed twice.
        const std::size_t piece = std::max(scaledToBlocks(carried.piece), 8 * windowOf(reach.columns, COLUMNS));
        columnStep = n[COLUMNS] >= 2 * piece ? piece : n[COLUMNS];
    }
    columnStep = stepFor(n[COLUMNS], columnStep, carried.group);
    const std::size_t columns = std::min(columnStep, n[COLUMNS]);
    const std::size_t least = scaledToBlocks(carried.voxels);
    std::size_t rowStep = 0;
    std::size_t planeStep = 0;
    if (carried.axis == PLANS) {
        const std::size_t cached = scaledToBlocks(carried.bandVoxels) / columns;
        rowStep = stepFor(n[ROWS], std::max({cached - std::min(cached, windowRows), 4 * windowRows, std::size_t{16}}),
                          carried.group);
    } else {
        rowStep = stepFor(n[ROWS], wantedFor(n[ROWS], windowRows, least / columns + 1), carried.group);
    }
    if (mode == RIX_PARTITION_ONLY_COLUMNS) {
        rowStep = ceilDivide(n[ROWS], carried.group) * carried.group;
    }
    const std::size_t area = columns * std::min(rowStep, n[ROWS]);
    if (carried.axis == PLANS) {
        planeStep =
            stepFor(n[PLANS], wantedFor(n[PLANS], windowOf(reach.planes, PLANS), least / area + 1), carried.group);
    } else {
        planeStep = std::min(n[PLANS], least / area + 1);
    }
    plan.cut(COLUMNS, {1, columnStep});
    plan.cut(ROWS, {1, rowStep});
    plan.cut(PLANS, {1, planeStep});
}

}  // namespace

Plan cutBoxes(std::initializer_list<const ImageModel*> inputs, std::initializer_list<const ImageModel*> outputs,
              const BoxNeeds& needs) {
    return cutBoxes(inputs, outputs, needs, partitionModeOfSettings());
}

Plan cutBoxes(std::initializer_list<const ImageModel*> inputs, std::initializer_list<const ImageModel*> outputs,
              const BoxNeeds& needs, PartitionMode mode) {
    const ImageModel& first = inputs.size() > 0 ? **inputs.begin() : **outputs.begin();
    const double inputBytes = asDouble(elementBytes(inputs, first));
    const double outputBytes = asDouble(elementBytes(outputs, first));
    Plan plan(helper::getExtents(first), JoinedAxes::None);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    const double cost = std::max(needs.nanosecondsPerVoxel, 1e-3);
    plan.setSmall(isSmallWork(plan.voxelCount(), cost));
    if (needs.carried) {
        cutCarried(plan, needs.reach, *needs.carried, mode);
    } else {
        const auto windowOf = [](const Reach::Axis& axis) { return asDouble(axis.before) + asDouble(axis.after) + 1; };
        Sizes sizes{};
        sizes.windowColumns = windowOf(needs.reach.columns);
        sizes.windowRows = windowOf(needs.reach.rows);
        sizes.windowPlanes = windowOf(needs.reach.planes);
        sizes.heldBytes = std::max(needs.heldBytesPerVoxel > 0 ? asDouble(needs.heldBytesPerVoxel) : inputBytes, 1.0);
        sizes.streamBytes = std::max(inputBytes + outputBytes, 1.0);
        sizes.outputBytes = outputBytes;
        sizes.longestVoxels = longestBlockNanoseconds / cost;
        const auto inputChunk = preferredBlock(inputs);
        const auto chunk = inputChunk ? inputChunk : preferredBlock(outputs);
        if (chunk && mode == RIX_PARTITION_DEFAULT) {
            cutWindowsAlong(*chunk, plan, sizes);
        } else {
            cutWindows(plan, sizes, mode);
        }
    }
    for (const Components axis : {SEQUENCE, SPECTRAL_SERIES}) {
        plan.cut(axis, {plan.gridExtents()[axis], 0, 1});
    }
    return plan;
}

}  // namespace rix::access
