#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// The neighbours of a row of voxels: as many rows, each shifted so that its voxels stand below those of the row.
template <class T>
struct Taps {
    std::size_t count;
    const T* const* rows;
    const T* weights;  ///< binary logarithms
};

/// The same with a weight of its own for each neighbour of each voxel.
template <class T>
struct WeightedTaps {
    std::size_t count;
    const T* const* rows;
    const T* const* weights;
};

/// The neighbours of a row, with factors of their differences: `square` of the squared difference in the conductance,
/// `step` of the flow.
template <class T>
struct Flows {
    std::size_t count;
    const T* rows[6];
    T square[6];
    T step[6];
};

/// Row kernels of the filters that keep edges, for `float` and `double`. Every level computes the same bits. Means are
/// made of differences from the voxel, so that what is even stays what it is. Kernels read up to a vector behind the
/// rows; results are written as far as `count`, what they are made of up to the next whole vector.
template <class T>
struct EdgeKernels {
    /// out = the mean of the taps weighted by 2^(weight + factor (tap - center)^2).
    void (*average)(const Taps<T>& taps, const T* center, T factor, T* out, std::size_t count);
    /// The same of taps with weights, and of the voxel itself with the weight 1.
    void (*averageWeighted)(const WeightedTaps<T>& taps, const T* center, T* out, std::size_t count);
    /// weights = 2^(logarithm + factor (a - b)^2).
    void (*weighPairs)(const T* a, const T* b, T logarithm, T factor, T* weights, std::size_t count);
    /// out = (a - b)^2.
    void (*squareDifferences)(const T* a, const T* b, T* out, std::size_t count);
    /// weights = 2^(factor distance); NaN stays.
    void (*weigh)(const T* distances, T factor, T* weights, std::size_t count);
    /// sums += weight (voxel - center), totals += weight.
    void (*accumulate)(const T* weights, const T* voxels, const T* center, T* sums, T* totals, std::size_t count);
    /// out = center + sums / weights.
    void (*divide)(const T* sums, const T* weights, const T* center, T* out, std::size_t count);
    /// out = center + what flows from its neighbours, with the conductance 2^(square v^2) or 1 / (1 + square v^2).
    void (*flowExponential)(const Flows<T>& flows, const T* center, T* out, std::size_t count);
    void (*flowRational)(const Flows<T>& flows, const T* center, T* out, std::size_t count);
    /// To the nearest integer, ties to even, within bounds; NaN becomes 0. Rows have room for a whole last vector.
    void (*round)(T* row, std::size_t count, T lowest, T highest);
};

template <class T>
EdgeKernels<T> edgeKernels(OptimLevelType level);

}  // namespace rix::filtering::smoothing
