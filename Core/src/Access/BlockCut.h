#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/PointBlocks.h>

// What the plans of point operations and of neighbourhood filters have in common.

namespace rix::access {

/// No block works longer than this, so that a cancellation is seen soon.
inline constexpr double longestBlockNanoseconds = 2.0e7;
/// Rows are cut on columns only into pieces at least this long: shorter ones defeat the prefetcher.
inline std::size_t shortestPiece() {
    return scaledToBlocks(4096);
}

PartitionMode partitionModeOfSettings();

constexpr std::size_t ceilDivide(std::size_t a, std::size_t b) {
    return a / b + (a % b != 0 ? 1 : 0);
}

struct BlockRun {
    std::size_t blockCount;
    double work;  ///< of all blocks together
    bool small;   ///< too small to pay for threads
};

/// Runs the blocks as one step of the run, with cancellation tested between them. `block` returns the work that it did.
void runBlocks(ExecutionContext& context, const BlockRun& run, FunctionRef<double(std::size_t)> block);

}  // namespace rix::access
