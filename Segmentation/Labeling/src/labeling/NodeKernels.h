#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Passes over the entries of consecutive nodes, [first, end). Entries are indexed by the nodes' names.
template <class Node>
struct NodeKernels {
    /// Number of nodes that are their own parent.
    std::size_t (*countRoots)(const Node* entries, Node first, Node end);
    /// Replaces the entries of roots by the labels after `label`, in their order. Returns the last label given.
    Node (*labelRoots)(Node* entries, Node first, Node end, Node label);
};

template <class Node>
const NodeKernels<Node>& nodeKernels(OptimLevelType level);

/// Replaces entries by labels and copies these into a row of type `T`. Where an entry is a name, it is that of an
/// earlier node of the band, or of a root of another band; the entries of roots are labels already and stay as they
/// are, because other bands may read them at the same time.
template <class Node, class T>
using ResolveNodes = void (*)(Node* entries, Node first, Node end, T* labels);

template <class Node, class T>
ResolveNodes<Node, T> resolveNodes(OptimLevelType level);

}  // namespace rix::segmentation
