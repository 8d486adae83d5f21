#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::rank {

/// Classes of a histogram, in as many groups of as many.
inline constexpr std::size_t groupClasses = 16;
inline constexpr std::size_t classes = groupClasses * groupClasses;
/// Counts of a column of windows: those of the groups, then those of the classes of each group. All are sums from the
/// first class (of the group) on, so that what is looked for is found by counting which sums are not above it.
inline constexpr std::size_t columnCounts = groupClasses + classes;

/// Which value of a window is looked for.
struct Wanted {
    std::size_t index = 0;  ///< of windows of which all voxels count
    bool masked = false;    ///< else of windows with n voxels that of `rank`
    double rank = 0.0;
};

/// What is found for a voxel: the class of the value, and how many values of that class come before it.
struct Found {
    static constexpr std::uint32_t nothing = 0xffffffff;  ///< before: no voxel of the window counts

    std::uint8_t* classes;
    std::uint32_t* before;
};

/// A step of all columns to the next row: the classes of the voxels that enter the windows and that leave them. Where
/// there are masks, only voxels where they are not 0.
struct ColumnStep {
    const std::uint8_t* enter = nullptr;
    const std::uint8_t* leave = nullptr;  ///< null: none
    const std::uint8_t* enterMask = nullptr;
    const std::uint8_t* leaveMask = nullptr;
};

/// Windows that are rows of another length each, as offsets from the row of the result.
struct ChordTable {
    std::size_t count = 0;
    const std::ptrdiff_t* begin = nullptr;  ///< the first voxel of the window of voxel 0
    const std::ptrdiff_t* end = nullptr;    ///< behind the last
};

/// The voxels of a tile in ascending order, and where each of them is.
struct RankedVoxels {
    std::size_t count = 0;
    std::size_t classSize = 0;  ///< class c begins at c * classSize
    const std::uint16_t* columns = nullptr;
    const std::uint16_t* rows = nullptr;
    const std::uint16_t* planes = nullptr;
};

/// Where the windows of a row lie in the tile, for `resolve`.
struct RowWindows {
    std::size_t row = 0;  ///< of the first voxel of the window of voxel 0
    std::size_t plane = 0;
    std::size_t columns = 1;
    std::size_t rows = 1;
    std::size_t planes = 1;
    bool isRound = false;
    std::size_t radius = 0;
};

/// Kernels that count. Portable levels and vectors give the same.
/// @tparam Count holds the voxels of a window
template <class Count>
struct HistogramKernels {
    void (*step)(const ColumnStep& step, Count* columns, std::size_t width);
    /// For windows of `window` columns.
    void (*findInColumns)(const Count* columns, std::size_t window, std::size_t count, const Wanted& wanted,
                          const Found& found);
};
/// `Count` is `int16_t` or `int32_t`.
template <class Count>
HistogramKernels<Count> histogramKernels(OptimLevelType level);

/// Finds by moving a histogram along a row. @param row,mask the first voxel of the tile that stands for voxel 0; the
/// mask
///        may be null
void findInChords(const std::uint8_t* row, const std::uint8_t* mask, const ChordTable& chords, std::size_t count,
                  const Wanted& wanted, const Found& found);

/// Of what was found among ranks, the voxels themselves: their places in the order.
using ResolveKernel = void (*)(const RankedVoxels& voxels, const RowWindows& windows, std::size_t count,
                               const Found& found, std::uint32_t* places);
ResolveKernel resolveKernel(OptimLevelType level);

}  // namespace rix::filtering::rank
