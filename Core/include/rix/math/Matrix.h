#pragma once

#include <array>
#include <cstddef>

#include <rix/Export.h>

namespace rix::math {

/// A square matrix of `N` rows, row-major; all coefficients are 0 at first.
///
/// It carries values from and to properties; linear algebra is done elsewhere.
template <class T, std::size_t N>
struct RIX_EXPORT SquareMatrix {
    std::array<T, N * N> values{};

    /// The coefficient at a row and a column, both below `N`.
    constexpr T& operator()(std::size_t row, std::size_t column) { return values[row * N + column]; }
    constexpr const T& operator()(std::size_t row, std::size_t column) const { return values[row * N + column]; }
    constexpr bool operator==(const SquareMatrix&) const = default;
};

template <class T>
using Matrix2 = SquareMatrix<T, 2>;
template <class T>
using Matrix3 = SquareMatrix<T, 3>;

}  // namespace rix::math
