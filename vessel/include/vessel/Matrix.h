#pragma once

#include <array>
#include <cstddef>

namespace vessel {

/// A square matrix of `N` rows and columns, stored row by row. A new matrix is all 0.
template <class T, std::size_t N>
class Matrix {
public:
    using ValueType = T;
    static constexpr std::size_t order = N;

    constexpr Matrix() = default;
    /// @param coefficients row by row
    constexpr explicit Matrix(const std::array<T, N * N>& coefficients) : m_coefficients(coefficients) {}

    static constexpr Matrix identity() {
        Matrix result;
        for (std::size_t i = 0; i < N; ++i) {
            result(i, i) = T(1);
        }
        return result;
    }

    /// Positions are not checked.
    constexpr T& operator()(std::size_t row, std::size_t column) { return m_coefficients[row * N + column]; }
    constexpr const T& operator()(std::size_t row, std::size_t column) const {
        return m_coefficients[row * N + column];
    }

    /// The coefficients row by row.
    constexpr T* data() { return m_coefficients.data(); }
    constexpr const T* data() const { return m_coefficients.data(); }
    static constexpr std::size_t size() { return N * N; }

    constexpr bool operator==(const Matrix&) const = default;

private:
    std::array<T, N * N> m_coefficients{};
};

}  // namespace vessel
