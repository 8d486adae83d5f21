#pragma once

#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>

#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Notes for each band how many sets of its volume begin before it.
/// @return the largest number of sets of a volume
template <class Node>
std::uint64_t countSets(RunTable<Node>& table);

/// Replaces the entries of roots by their labels: 1, 2, ... in the raster order of the sets' first pixels.
template <class Node>
void labelRoots(access::ExecutionContext& context, RunTable<Node>& table, OptimLevelType level);

/// Whether a scan of one of the bands would open more provisional labels than `most`.
template <class Node>
bool opensMoreLabelsThan(access::ExecutionContext& context, const RunTable<Node>& table, OptimLevelType level,
                         const ScanBands& scanBands, std::uint64_t most);

}  // namespace rix::segmentation
