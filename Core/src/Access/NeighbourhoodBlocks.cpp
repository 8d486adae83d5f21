#include <rix/access/NeighbourhoodBlocks.h>

#include <algorithm>

#include <rix/exceptions/Exception.h>

#include "Access/BlockCut.h"

namespace rix::access {

namespace {

/// Blocks are at least this many times as high and deep as what they read beyond themselves.
constexpr std::size_t reachFactor = 4;

/// What the cut works with. Doubles, because a reach beyond all measure must not wrap.
struct Sizes {
    double windowRows;
    double windowPlanes;
    double columnReach;
    double heldBytes;    ///< of a voxel in a window
    double streamBytes;  ///< of a voxel in all inputs and outputs
    double outputBytes;
    double nanoseconds;  ///< a voxel
};

/// The whole number in [1, most] below a quotient.
std::size_t countOf(double quotient, std::size_t most) {
    return quotient >= static_cast<double>(most) ? most : std::max<std::size_t>(1, static_cast<std::size_t>(quotient));
}

std::size_t largestPiece(const Sizes& sizes, std::size_t columns) {
    const double windowBytes = sizes.windowRows * sizes.windowPlanes * sizes.heldBytes;
    if ((static_cast<double>(columns) + sizes.columnReach) * windowBytes <= static_cast<double>(blockBytes())) {
        return columns;
    }
    const double fitting = static_cast<double>(blockBytes()) / windowBytes - sizes.columnReach;
    return countOf(std::max({fitting, static_cast<double>(shortestPiece()), reachFactor * sizes.columnReach}), columns);
}

std::size_t bandHeight(const Sizes& sizes, double pieceLength, std::size_t rows, double longestVoxels) {
    const double rowReach = sizes.windowRows - 1;
    const double heldRowBytes = sizes.windowPlanes * (pieceLength + sizes.columnReach) * sizes.heldBytes;
    const double fitting =
        sizes.windowPlanes > 1
            ? static_cast<double>(blockBytes()) / (heldRowBytes + pieceLength * sizes.outputBytes) - rowReach
            : static_cast<double>(blockBytes()) / (pieceLength * sizes.streamBytes);
    return countOf(std::min(std::max(fitting, reachFactor * rowReach), longestVoxels / pieceLength), rows);
}

std::size_t bandDepth(const Sizes& sizes, double planeVoxels, bool wholePlanes, std::size_t planes,
                      double longestVoxels) {
    const double planeReach = sizes.windowPlanes - 1;
    // A block of part of a plane is large enough; small planes are put together.
    const double fitting =
        wholePlanes || planeReach > 0 ? static_cast<double>(blockBytes()) / (planeVoxels * sizes.streamBytes) : 1.0;
    return countOf(std::min(std::max(fitting, reachFactor * planeReach), longestVoxels / planeVoxels), planes);
}

}  // namespace

NeighbourhoodPlan::NeighbourhoodPlan(std::initializer_list<const ImageModel*> inputs,
                                     std::initializer_list<const ImageModel*> outputs, const NeighbourhoodWork& work)
    : NeighbourhoodPlan(inputs, outputs, work, partitionModeOfSettings()) {}

NeighbourhoodPlan::NeighbourhoodPlan(std::initializer_list<const ImageModel*> inputs,
                                     std::initializer_list<const ImageModel*> outputs, const NeighbourhoodWork& work,
                                     PartitionMode mode)
    : m_reach(work.reach) {
    const ImageModel& first = inputs.size() > 0 ? **inputs.begin() : **outputs.begin();
    m_extents = helper::getExtents(first);
    if (!helper::getElementCount(first, m_voxels)) {
        throw UnexpectedError("The image is too large: its number of elements does not fit 64 bits.");
    }
    const auto bytesOf = [&](std::initializer_list<const ImageModel*> images) {
        std::size_t bytes = 0;
        for (const ImageModel* image : images) {
            if (helper::getExtents(*image) != m_extents) {
                throw UnexpectedError("The images of a filter have different sizes: " + helper::describeImage(first) +
                                      " and " + helper::describeImage(*image) + '.');
            }
            bytes += helper::getElementSize(*image);
        }
        return static_cast<double>(bytes);
    };
    const double inputBytes = bytesOf(inputs);
    const double outputBytes = bytesOf(outputs);
    if (m_voxels == 0) {
        return;
    }
    const auto reachOf = [](const Reach::Axis& axis) {
        return static_cast<double>(axis.before) + static_cast<double>(axis.after);
    };
    Sizes sizes{};
    sizes.windowRows = reachOf(m_reach.rows) + 1;
    sizes.windowPlanes = reachOf(m_reach.planes) + 1;
    sizes.columnReach = reachOf(m_reach.columns);
    sizes.heldBytes =
        std::max(work.heldBytesPerVoxel > 0 ? static_cast<double>(work.heldBytesPerVoxel) : inputBytes, 1.0);
    sizes.streamBytes = std::max(inputBytes + outputBytes, 1.0);
    sizes.outputBytes = outputBytes;
    sizes.nanoseconds = std::max(work.nanosecondsPerVoxel, 1e-3);
    const double longestVoxels = longestBlockNanoseconds / sizes.nanoseconds;
    m_small = static_cast<double>(m_voxels) * sizes.nanoseconds < smallWorkNanoseconds();

    const std::size_t columns = m_extents[COLUMNS];
    const std::size_t rows = m_extents[ROWS];
    std::size_t piece = columns;
    std::size_t height = rows;
    if (mode == RIX_PARTITION_ONLY_COLUMNS) {
        const double voxels = std::min(static_cast<double>(blockBytes()) / sizes.streamBytes, longestVoxels);
        piece = countOf(std::max({voxels / static_cast<double>(rows), static_cast<double>(shortestPiece()),
                                  reachFactor * sizes.columnReach}),
                        columns);
    } else {
        piece = mode == RIX_PARTITION_ONLY_ROWS ? columns : largestPiece(sizes, columns);
        height = bandHeight(sizes, static_cast<double>(piece), rows, longestVoxels);
    }
    const double planeVoxels = static_cast<double>(piece) * static_cast<double>(height);
    const std::size_t depth =
        bandDepth(sizes, planeVoxels, height == rows && piece == columns, m_extents[PLANS], longestVoxels);
    m_columnParts = ceilDivide(columns, piece);
    m_rowParts = ceilDivide(rows, height);
    m_planeParts = ceilDivide(m_extents[PLANS], depth);
}

std::size_t NeighbourhoodPlan::blockCount() const {
    return m_columnParts * m_rowParts * m_planeParts * m_extents[SEQUENCE] * m_extents[SPECTRAL_SERIES];
}

NeighbourhoodBlock NeighbourhoodPlan::block(std::size_t index) const {
    NeighbourhoodBlock block;
    const auto next = [&index](std::size_t parts) {
        const std::size_t part = index % parts;
        index /= parts;
        return part;
    };
    block.columns = partOf(m_extents[COLUMNS], m_columnParts, next(m_columnParts));
    block.rows = partOf(m_extents[ROWS], m_rowParts, next(m_rowParts));
    block.planes = partOf(m_extents[PLANS], m_planeParts, next(m_planeParts));
    block.sequence = next(m_extents[SEQUENCE]);
    block.spectral = index;
    return block;
}

void forEachBlock(ExecutionContext& context, const NeighbourhoodPlan& plan,
                  FunctionRef<void(const NeighbourhoodBlock&)> body) {
    const BlockRun run{plan.blockCount(), static_cast<double>(plan.voxelCount()), plan.isSmall()};
    runBlocks(context, run, [&](std::size_t index) {
        const NeighbourhoodBlock block = plan.block(index);
        body(block);
        const auto length = [](const Interval& interval) { return static_cast<double>(interval.end - interval.begin); };
        return length(block.columns) * length(block.rows) * length(block.planes);
    });
}

}  // namespace rix::access
