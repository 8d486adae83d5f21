#pragma once

#include <cstddef>

#include <rix/Export.h>

namespace rix::math {

/// Two components: a pair, a size or a position in a plane.
template <class T>
struct RIX_EXPORT Vector2 {
    T x{};
    T y{};

    /// The component of an axis; `axis` must be below 2.
    constexpr T& operator[](std::size_t axis) { return axis == 0 ? x : y; }
    constexpr const T& operator[](std::size_t axis) const { return axis == 0 ? x : y; }
    constexpr bool operator==(const Vector2&) const = default;
};

/// Three components: a size or a position in space, or the values of a colour.
template <class T>
struct RIX_EXPORT Vector3 {
    T x{};
    T y{};
    T z{};

    /// The component of an axis; `axis` must be below 3.
    constexpr T& operator[](std::size_t axis) { return axis == 0 ? x : axis == 1 ? y : z; }
    constexpr const T& operator[](std::size_t axis) const { return axis == 0 ? x : axis == 1 ? y : z; }
    constexpr bool operator==(const Vector3&) const = default;
};

/// Four components: a box in a plane, or a position in space with a weight.
template <class T>
struct RIX_EXPORT Vector4 {
    T x{};
    T y{};
    T z{};
    T w{};

    /// The component of an axis; `axis` must be below 4.
    constexpr T& operator[](std::size_t axis) { return axis == 0 ? x : axis == 1 ? y : axis == 2 ? z : w; }
    constexpr const T& operator[](std::size_t axis) const { return axis == 0 ? x : axis == 1 ? y : axis == 2 ? z : w; }
    constexpr bool operator==(const Vector4&) const = default;
};

}  // namespace rix::math
