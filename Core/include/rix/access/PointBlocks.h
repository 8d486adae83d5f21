#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

#include <rix/Export.h>
#include <rix/access/BlockSize.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/image/ImageModel.h>

namespace rix {
class EnumInfo;
}

namespace rix::access {

/// A segment of a row: `count` elements from `column` on.
struct RowSegment {
    std::size_t column = 0;
    std::size_t row = 0;
    std::size_t plane = 0;
    std::size_t sequence = 0;
    std::size_t spectral = 0;
    std::size_t count = 0;
};

/// How the setting "RIX_PARTITIONER_MODE" overrides the cut of images into blocks.
enum PartitionMode : int {
    RIX_PARTITION_DEFAULT = 0,
    RIX_PARTITION_FULL_ROW_COL_ALTERNATE,  ///< full rows, then columns where a row alone is too large (the default cut)
    RIX_PARTITION_ONLY_COLUMNS,            ///< blocks span all rows and are cut on columns only
    RIX_PARTITION_ONLY_ROWS                ///< blocks are full rows
};

RIX_EXPORT const EnumInfo& getInfoPartitionMode();

/// Part of a set of images of the same extents that a point operation handles in one go: a range of lines (a line is
/// one row of one plane, frame and channel) and a range of columns.
struct PointBlock {
    std::size_t firstLine = 0;
    std::size_t lastLine = 0;
    std::size_t firstColumn = 0;
    std::size_t lastColumn = 0;
};

/// The cut of images into the blocks of a point operation. It is computed from the images' extents and types alone,
/// never from the number of threads or the processor, so that it is the same on every machine.
class RIX_EXPORT PointPlan {
public:
    /// @param images every image that the operation reads or writes; all have the same extents. When each of them is
    ///        one contiguous buffer, rows are joined into one long line, so that narrow images cost what wide ones do.
    /// @param nanosecondsPerVoxel rough cost of the work, for deciding whether threads pay.
    PointPlan(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel);
    /// For tests: with a given cut instead of that of the settings.
    PointPlan(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel, PartitionMode mode);

    std::size_t blockCount() const { return m_lineParts * m_columnParts; }
    PointBlock block(std::size_t index) const;
    std::size_t voxelCount() const { return m_lines * m_columns; }
    /// True when the whole work is too small to pay for threads.
    bool isSmall() const { return m_small; }
    /// True when every row of every image is addressed as part of one line.
    bool rowsAreJoined() const { return m_joined; }

    /// Calls `segment` for every row segment of a block, in raster order.
    template <class F>
    void forEachSegment(const PointBlock& block, F&& segment) const {
        for (std::size_t line = block.firstLine; line < block.lastLine; ++line) {
            segment(segmentOf(line, block));
        }
    }

private:
    RowSegment segmentOf(std::size_t line, const PointBlock& block) const;

    std::array<std::size_t, 5> m_extents{};
    std::size_t m_columns = 0;  ///< of a line
    std::size_t m_lines = 0;
    std::size_t m_columnParts = 0;
    std::size_t m_lineParts = 0;
    bool m_joined = false;
    bool m_small = false;
};

/// Runs `body` for every block of the plan: on the run's threads when the work pays for them, else on this one.
/// Between blocks cancellation is tested and progress reported: the call is one step of the run, measured in voxels.
RIX_EXPORT void forEachBlock(ExecutionContext& context, const PointPlan& plan,
                             FunctionRef<void(const PointBlock&)> body);

/// The part [begin, end) of `extent` that part `index` of `parts` covers; sizes differ by at most one.
struct Interval {
    std::size_t begin;
    std::size_t end;
};
RIX_EXPORT Interval partOf(std::size_t extent, std::size_t parts, std::size_t index);

}  // namespace rix::access
