#pragma once

#include <array>

namespace vessel {

/// A direction in world space: x, y, z.
using Vector3d = std::array<double, 3>;

/// The world directions of the three image axes. The default is the axis-aligned frame.
struct SpatialDirections {
    Vector3d columnDirection{1.0, 0.0, 0.0};
    Vector3d rowDirection{0.0, 1.0, 0.0};
    Vector3d sliceDirection{0.0, 0.0, 1.0};

    bool operator==(const SpatialDirections&) const = default;
};

}  // namespace vessel
