#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "labeling/RunTable.h"

namespace rix::segmentation {

/// How the pixels of two rows of nodes, an earlier and a later one, touch.
enum class Contact : std::uint8_t {
    Straight,       ///< single rows, in the same column
    Oblique,        ///< single rows, or pairs laid over each other: also in the columns to either side
    AboveOblique,   ///< pairs: the earlier bottom row and the later top row
    AboveStraight,  ///< as before, in the same column only
    BelowOblique,   ///< pairs in two planes: the earlier top row and the later bottom row
    BelowStraight,  ///< as before, in the same column only
    BesideEdges,    ///< pairs at the same place of two planes: the same rows obliquely, the others straight
};
inline constexpr std::size_t contactKinds = 7;

/// Two nodes that touch.
template <class Node>
struct NodePair {
    Node earlier;
    Node later;
};

template <class Node>
struct ContactKernels {
    /// Joins the sets of every two nodes that touch. Every entry is a node of smaller or the same name in the same set.
    /// @param entries indexed by the nodes' names
    void (*join[contactKinds])(const NodeRow<Node>& earlier, const NodeRow<Node>& later, std::size_t words,
                               Node* entries);
    /// The same, where no node of the later row has been joined with an earlier one yet.
    void (*joinFresh[contactKinds])(const NodeRow<Node>& earlier, const NodeRow<Node>& later, std::size_t words,
                                    Node* entries);
    /// Writes every two nodes that touch, each pair once, and returns their number: fewer than the rows have nodes.
    std::size_t (*list[contactKinds])(const NodeRow<Node>& earlier, const NodeRow<Node>& later, std::size_t words,
                                      NodePair<Node>* pairs);
    /// Gives labels to those roots of a row of pairs whose sets have a pixel in the top row, in the order of the first
    /// ones. The row's other roots come after them in raster order.
    /// @return the last label given, `label` when there is no such root
    Node (*labelTopRoots)(const NodeRow<Node>& row, std::size_t words, Node* entries, Node label);
};

/// The kernels of a level.
template <class Node>
const ContactKernels<Node>& contactKernels(OptimLevelType level);

}  // namespace rix::segmentation
