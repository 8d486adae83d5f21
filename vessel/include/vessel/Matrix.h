#pragma once

#include <array>
#include <cstddef>

#include <vessel/Export.h>

namespace vessel {

/// A square matrix of `N` rows, row-major; all coefficients are 0 at first.
template <class T, int N>
struct VESSEL_EXPORT Matrix {
    std::array<T, static_cast<std::size_t>(N) * static_cast<std::size_t>(N)> values{};

    bool operator==(const Matrix&) const = default;
};

}  // namespace vessel
