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

}  // namespace rix::filtering::rank
