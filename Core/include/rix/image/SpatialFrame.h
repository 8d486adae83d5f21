#pragma once

#include <array>
#include <cstddef>

namespace rix {

/// Where the samples of a spectrum lay before the transform: what its frequencies don't tell and the inverse needs.
struct SpatialFrame {
    std::size_t columns = 0;         ///< before the half that the others determine was left out
    std::array<double, 3> origin{};  ///< of columns, rows and planes
    std::array<double, 3> spacing{};

    bool operator==(const SpatialFrame& other) const = default;
};

}  // namespace rix
