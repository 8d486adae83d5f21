#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::edge_detection {

/// A row's gradients and the magnitudes around it: rows of three planes, three rows each, the middle plane alone in 2D.
template <class T>
struct GradientRows {
    const T* components[3];
    const T* magnitudes[3][3];  ///< [plane][row]; with one voxel more on both sides
    std::array<T, 3> step;      ///< along a gradient of length 1, in voxels of each axis
    T lower;
    T upper;
};

inline constexpr std::size_t classifiedColumns = 512;  ///< at a time

template <class T>
struct CannyKernels {
    /// Of up to `classifiedColumns` voxels of a row, from `begin` on, a bit each: whether the magnitude is the greatest
    /// along the gradient and at least `lower`; whether it is at least `upper` as well. Behind the last one zeros.
    void (*classify2)(const GradientRows<T>& rows, std::size_t begin, std::size_t count, std::uint64_t* weak,
                      std::uint64_t* strong);
    void (*classify3)(const GradientRows<T>& rows, std::size_t begin, std::size_t count, std::uint64_t* weak,
                      std::uint64_t* strong);
    /// `count` voxels, 0 and 1, of bits from the column `begin` on.
    void (*expand)(const std::uint64_t* bits, std::size_t begin, std::uint8_t* out, std::size_t count);
};

template <class T>
CannyKernels<T> cannyKernels(OptimLevelType level);

/// The magnitudes one step before and behind a voxel along its gradient, for sub-voxel places.
template <class T>
std::array<T, 2> magnitudesAlong(const GradientRows<T>& rows, std::size_t x, std::size_t axes);

}  // namespace rix::edge_detection
