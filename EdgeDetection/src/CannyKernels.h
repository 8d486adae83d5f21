#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::edge_detection {

/// Classes of voxels on their way to edges.
enum EdgeClass : std::uint8_t {
    NoEdge = 0,
    WeakEdge = 1,
    StrongEdge = 2,
    ReachedEdge = 3  ///< and the direction that it was reached by
};

/// A row's gradients and the magnitudes around it: rows of three planes, three rows each, the middle plane alone in 2D.
template <class T>
struct GradientRows {
    const T* components[3];
    const T* magnitudes[3][3];  ///< [plane][row]; with one voxel more on both sides
    std::array<T, 3> step;      ///< along a gradient of length 1, in voxels of each axis
    T lower;
    T upper;
};

template <class T>
struct CannyKernels {
    /// Classes of the voxels of a row: 0 where the magnitude is not the greatest along the gradient, or below `lower`.
    void (*classify2)(const GradientRows<T>& rows, std::uint8_t* out, std::size_t count);
    void (*classify3)(const GradientRows<T>& rows, std::uint8_t* out, std::size_t count);
};

template <class T>
CannyKernels<T> cannyKernels(OptimLevelType level);

/// The magnitudes one step before and behind a voxel along its gradient, for sub-voxel places.
template <class T>
std::array<T, 2> magnitudesAlong(const GradientRows<T>& rows, std::size_t x, std::size_t axes);

}  // namespace rix::edge_detection
