#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::segmentation {

/// The rows that a scan has visited before it comes to a row, as far as they hold neighbours. A missing row is a row of
/// zeros.
struct VisitedRows {
    const std::uint64_t* row;
    const std::uint64_t* straight[3];  ///< neighbours in the same column only
    const std::uint64_t* oblique[4];   ///< neighbours also in the columns to either side
};

struct CountKernels {
    /// Number of runs of a row.
    std::size_t (*runs)(const std::uint64_t* row, std::size_t words);
    /// Number of runs of two rows laid over each other.
    std::size_t (*pairRuns)(const std::uint64_t* top, const std::uint64_t* bottom, std::size_t words);
    /// Number of pixels of a row at which a scan finds no labelled neighbour: where it opens a provisional label. They
    /// are first pixels of runs, because a later one has its left neighbour.
    std::size_t (*openings)(const VisitedRows& visited, std::size_t words);
};

const CountKernels& countKernels(OptimLevelType level);

}  // namespace rix::segmentation
