#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>

#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Joins the nodes of every volume into connected sets: inside bands first, each band on its own, then across the seams
/// between them. Afterwards a node's entry is its own name (the first node of a set, the root), a smaller name of its
/// own band, or the name of a root of an earlier band.
template <class Node>
void joinNodes(access::ExecutionContext& context, RunTable<Node>& table, OptimLevelType level);

}  // namespace rix::segmentation
