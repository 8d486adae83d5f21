#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

#include <rix/Export.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/PointBlocks.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// How many elements a filter looks at beside the one that it computes, on each spatial axis.
struct Reach {
    struct Axis {
        std::size_t before = 0;  ///< toward smaller coordinates
        std::size_t after = 0;
        std::size_t sum() const { return before + after; }
    };
    Axis columns;
    Axis rows;
    Axis planes;
};

/// The reach of a window of the given extents around its element: one more before than after where an extent is even.
constexpr Reach reachOfWindow(std::size_t columns, std::size_t rows, std::size_t planes) {
    const auto axis = [](std::size_t extent) { return Reach::Axis{extent / 2, extent - 1 - extent / 2}; };
    return {axis(columns), axis(rows), axis(planes)};
}

/// What the cut of images into blocks depends on, beside the images.
struct NeighbourhoodWork {
    Reach reach;
    /// Rough cost of the work, for deciding whether threads pay and how long a block takes.
    double nanosecondsPerVoxel = 1.0;
    /// Bytes that a block keeps of each voxel in its windows; 0 for the elements of the inputs as they are.
    std::size_t heldBytesPerVoxel = 0;
};

/// Part of a set of images of the same extents that a neighbourhood filter computes in one go: a band of rows of some
/// planes at one place of the sequence and the spectral axis.
struct NeighbourhoodBlock {
    Interval columns{0, 0};
    Interval rows{0, 0};
    Interval planes{0, 0};
    std::size_t sequence = 0;
    std::size_t spectral = 0;

    std::size_t rowLength() const { return columns.end - columns.begin; }
    /// Calls `segment` for every row segment of the block, row by row and plane by plane.
    template <class F>
    void forEachSegment(F&& segment) const {
        for (std::size_t plane = planes.begin; plane < planes.end; ++plane) {
            for (std::size_t row = rows.begin; row < rows.end; ++row) {
                segment(RowSegment{columns.begin, row, plane, sequence, spectral, rowLength()});
            }
        }
    }
};

/// The cut of images into the blocks of a neighbourhood filter. It is computed from the images' extents and types, the
/// reach and the cost alone, never from the number of threads or the processor, so that running sums that start with a
/// block are the same on every machine.
///
/// Blocks are bands of full rows. The windows of a row of blocks fit half a level-2 cache: of a 2D filter those of one
/// row, of a filter that looks at other planes those of all rows of the block, because it reads a row again for every
/// plane. A band is at least four times as high as the reach, and as many planes deep, so that what neighbouring blocks
/// read twice stays small; unless a block would take more than 20 ms, after which a cancellation must be seen. Rows are
/// cut on columns only where the windows of a single row are too large.
class RIX_EXPORT NeighbourhoodPlan {
public:
    /// @param inputs,outputs the images that the filter reads and writes; all have the same extents
    /// @throws UnexpectedError when they have not, or have more elements than 64 bits can count
    NeighbourhoodPlan(std::initializer_list<const ImageModel*> inputs, std::initializer_list<const ImageModel*> outputs,
                      const NeighbourhoodWork& work);
    /// For tests: with a given cut instead of that of the settings.
    NeighbourhoodPlan(std::initializer_list<const ImageModel*> inputs, std::initializer_list<const ImageModel*> outputs,
                      const NeighbourhoodWork& work, PartitionMode mode);

    std::size_t blockCount() const;
    NeighbourhoodBlock block(std::size_t index) const;
    std::size_t voxelCount() const { return m_voxels; }
    /// True when the whole work is too small to pay for threads.
    bool isSmall() const { return m_small; }
    const Reach& reach() const { return m_reach; }

private:
    std::array<std::size_t, 5> m_extents{};
    Reach m_reach;
    std::size_t m_voxels = 0;
    std::size_t m_columnParts = 0;
    std::size_t m_rowParts = 0;
    std::size_t m_planeParts = 0;
    bool m_small = true;
};

/// Runs `body` for every block of the plan: on the run's threads when the work pays for them, else on this one.
/// Between blocks cancellation is tested and progress reported: the call is one step of the run, measured in voxels.
RIX_EXPORT void forEachBlock(ExecutionContext& context, const NeighbourhoodPlan& plan,
                             FunctionRef<void(const NeighbourhoodBlock&)> body);

}  // namespace rix::access
