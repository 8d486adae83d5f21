#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/algorithms/OptimLevel.h>

namespace rix::geometry {

/// Numbers in the order of samples: integers themselves; the bits of reals,
/// those of negative ones reversed, so that -0 comes before 0.
template <class T>
using RankOf = std::conditional_t<
    std::is_floating_point_v<T>,
    std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>, T>;

/// The largest or smallest ranks; NaN is left out.
template <class T> struct ExtremeKernels {
  /// Of lines beside each other: what was found so far, and one sample more of
  /// each.
  void (*beside)(const T *samples, RankOf<T> *best, std::size_t count);
  /// Of one line: what was found so far, and the samples of the line.
  RankOf<T> (*along)(const T *samples, std::size_t count, RankOf<T> best);
};
template <class T>
ExtremeKernels<T> extremeKernels(bool isLargest, OptimLevelType level);

} // namespace rix::geometry
