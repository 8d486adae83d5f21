#pragma once

#include <cstddef>
#include <type_traits>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>

#include "SampleKeys.h"

namespace rix::filtering::rank {

/// The medians of windows of 3x3 or 5x5 samples along a row, in registers.
/// @tparam T integers, or `float`, whose samples are compared by their keys
template <class T>
struct SquareMedian {
    using Key = std::conditional_t<std::is_integral_v<T>, T, KeyOf<T>>;

    /// The least windows that a row may have: a vector of the widest processor.
    static constexpr std::size_t leastCount = 64 / sizeof(T);
    /// Samples that `lines` holds.
    static constexpr std::size_t lineSamples = 12 * 1024 / sizeof(T);

    /// @param rows as many as the window has, from the first sample of the first window on; read are those of the
    ///        windows, and no others
    /// @param lines working memory, aligned to 64 bytes
    using Row = void (*)(const Key* const* rows, Key* lines, T* out, std::size_t count);
};

/// The keys of samples.
using FloatKeys = void (*)(const float* samples, KeyOf<float>* keys, std::size_t count);

FloatKeys floatKeys(OptimLevelType level);

/// @param side 3 or 5
template <class T>
typename SquareMedian<T>::Row squareMedianRow(std::size_t side, access::Stores stores, OptimLevelType level);

}  // namespace rix::filtering::rank
