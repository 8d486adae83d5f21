#pragma once

#include <rix/algorithms/OptimLevel.h>

#include "labeling/BandLoop.h"
#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Joins the nodes of every volume into connected sets: inside bands first, each band on its own, then across the seams
/// between them. Afterwards a node's entry is its own name (the first node of a set, the root), a smaller name of its
/// own band, or the name of a root of an earlier band.
/// @param work of the progress, for each band in proportion to its size
template <class Node>
void joinNodes(const BandLoop& loop, RunTable<Node>& table, OptimLevelType level, double workOfVoxel);

}  // namespace rix::segmentation
