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

/// Two patches a voxel apart everywhere in a row, as pairs of rows that are `reach` voxels longer at both ends.
template <class T>
struct PatchPair {
    std::size_t rows;
    const T* const* here;
    const T* const* there;
    std::size_t reach;
    T factor;         ///< of the sum of squared differences: the binary logarithm of the weight
    const T* voxel;   ///< that is weighted
    const T* center;  ///< of which its difference counts
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
/// rows; results are written as far as `count`, sums up to the next whole vector.
template <class T>
struct EdgeKernels {
    /// out = the mean of the taps weighted by 2^(weight + factor (tap - center)^2).
    void (*average)(const Taps<T>& taps, const T* center, T factor, T* out, std::size_t count);
    /// Adds a weighted difference to `sums`, its weight to `weights`. @param squares room for count + 2 reach values
    /// and a vector
    void (*addPatch)(const PatchPair<T>& pair, T* squares, T* sums, T* weights, std::size_t count);
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
