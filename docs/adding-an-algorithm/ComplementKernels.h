#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::point_operations {

template <class T>
using ComplementRow = void (*)(const T* in, T* out, std::size_t count);

/// The kernel of a level.
template <class T>
ComplementRow<T> complementRow(OptimLevelType level);

}  // namespace rix::point_operations
