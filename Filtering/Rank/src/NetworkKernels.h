#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

#include "RankNetwork.h"

namespace rix::filtering::rank {

/// A network as kernels read it, and memory for its lines.
/// @tparam Key unsigned integers
template <class Key>
struct NetworkRun {
    const RankNetwork::Step* steps;
    std::size_t stepCount;
    std::size_t inputs;
    Key* lines;              ///< aligned to 64 bytes
    std::size_t lineStride;  ///< a multiple of 64 bytes
};

/// Runs the steps for `count` windows. Behind what is needed lines are read and written up to the next whole vector.
/// @param rows the inputs, from the first voxel of the first window on
template <class Key>
using NetworkKernel = void (*)(const NetworkRun<Key>& run, const Key* const* rows, std::size_t count);

template <class Key>
NetworkKernel<Key> networkKernel(OptimLevelType level);

}  // namespace rix::filtering::rank
