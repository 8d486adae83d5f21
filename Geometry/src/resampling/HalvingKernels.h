#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::geometry {

/// Means of two by two elements of two rows: out[i] of elements 2 i and 2 i + 1. Integers to nearest, ties to even.
/// @tparam T std::uint8_t, std::uint16_t or float
template <class T>
using HalveRows = void (*)(const T* first, const T* second, T* out, std::size_t count);
template <class T>
HalveRows<T> halveRows(OptimLevelType level);

}  // namespace rix::geometry
