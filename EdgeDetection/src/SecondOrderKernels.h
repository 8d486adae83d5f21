#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::edge_detection {

/// What is made of symmetric matrices; rows that are null are not wanted. All in `double`.
template <class T>
struct TensorRows {
    T* values[3];    ///< that ascend by magnitude
    T* vectors[9];   ///< of the first value x, y, z, then of the second
    T* coherence;    ///< ((a - b) / (a + b))^2 of the two greatest
    T* orientation;  ///< angle of the vector of the greatest, above -pi / 2 and up to pi / 2
};

enum class RidgeMethod : std::uint8_t { Frangi, Sato };

/// How much a voxel is like a ridge.
struct RidgeMeasure {
    RidgeMethod method;
    double sign;    ///< 1 for bright ridges, -1 for dark ones
    double square;  ///< of the scale, by which second derivatives are multiplied
    double alpha;
    double beta;
    double gamma;
};

template <class T>
struct SecondOrderKernels {
    /// @param components xx, xy, yy, or xx, xy, xz, yy, yz, zz
    void (*tensors2)(const T* const* components, const TensorRows<T>& rows, std::size_t count);
    void (*tensors3)(const T* const* components, const TensorRows<T>& rows, std::size_t count);
    /// The products of the components of gradients, in that order.
    void (*products)(const T* const* components, std::size_t axes, T* const* outs, std::size_t count);
    /// The greater of what was there (null: nothing) and a measure.
    void (*ridges2)(const T* const* components, const RidgeMeasure& measure, const T* before, T* out,
                    std::size_t count);
    void (*ridges3)(const T* const* components, const RidgeMeasure& measure, const T* before, T* out,
                    std::size_t count);
};

template <class T>
SecondOrderKernels<T> secondOrderKernels(OptimLevelType level);

}  // namespace rix::edge_detection
