#pragma once

#include <complex>
#include <cstdint>
#include <memory>

#include <rix/Assert.h>
#include <rix/access/BorderCondition.h>
#include <rix/access/BorderPolicy.h>

// The drawings of the policies are in docs/borders.md.

namespace rix::access {

/// The coordinate on an axis of length `n` that a coordinate `c` is reflected to. The element at the edge comes twice:
/// -1 reads 0, `n` reads `n` - 1; the pattern repeats with the period 2 `n`, so that every `c` has an answer.
/// @param n at least 1
constexpr std::int64_t computeCoord(std::int64_t c, std::int64_t n) {
    RIX_ASSERT(n > 0);
    // Unsigned: the period of the longest axis needs 64 bits of it, and the complement takes no negative to overflow.
    const auto length = static_cast<std::uint64_t>(n);
    const std::uint64_t period = 2 * length;
    const std::uint64_t r = static_cast<std::uint64_t>(c < 0 ? ~c : c) % period;
    return static_cast<std::int64_t>(r < length ? r : period - 1 - r);
}

/// The index of an axis of length `n` that a policy shows at another; negative for the value of `FIXED`.
/// @param n at least 1
constexpr std::int64_t borderSource(BorderPolicy policy, std::int64_t c, std::int64_t n) {
    if (c >= 0 && c < n) {
        return c;
    }
    switch (policy) {
        case BorderPolicy::MIRROR: return computeCoord(c, n);
        case BorderPolicy::CONTINUE: return c < 0 ? 0 : n - 1;
        case BorderPolicy::FIXED: break;
    }
    return -1;
}

/// No extension: what is read must lie inside the image. A coordinate outside is an error of the program: it fails an
/// assertion in builds that have them, else it throws `BadIndex` before anything is read.
template <class T>
class RIX_EXPORT NoBorderCondition : public BorderCondition<T> {
public:
    /// The instance that all share.
    static std::shared_ptr<NoBorderCondition> New();
    void getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row, std::int64_t plane,
                 std::int64_t sequence, std::int64_t spectral) const override;
};

/// Every sample outside the image, on whichever axis, reads as one value. The only policy for which an image may be
/// empty.
template <class T>
class RIX_EXPORT FixedBorderCondition : public BorderCondition<T> {
public:
    explicit FixedBorderCondition(T value) : m_value(value) {}
    static std::shared_ptr<FixedBorderCondition> New(T value);
    void getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row, std::int64_t plane,
                 std::int64_t sequence, std::int64_t spectral) const override;
    T value() const { return m_value; }

private:
    T m_value;
};

/// Coordinates outside are reflected into the image, on all five axes, as `computeCoord` says. A segment that needs
/// columns of the image beyond those that it covers is read through a working buffer.
template <class T>
class RIX_EXPORT MirrorBorderCondition : public BorderCondition<T> {
public:
    /// The instance that all share.
    static std::shared_ptr<MirrorBorderCondition> New();
    void getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row, std::int64_t plane,
                 std::int64_t sequence, std::int64_t spectral) const override;
};

/// Coordinates outside are replaced by the nearest inside, on all five axes: the elements at the edges are repeated.
template <class T>
class RIX_EXPORT ContinueBorderCondition : public BorderCondition<T> {
public:
    /// The instance that all share.
    static std::shared_ptr<ContinueBorderCondition> New();
    void getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row, std::int64_t plane,
                 std::int64_t sequence, std::int64_t spectral) const override;
};

/// Inside a plane, an element outside reads the element that it meets when it is reflected across a line: the line at
/// the policy's angle through the nearest point of the image's outline (a corner for what lies beyond two edges). What
/// the reflection leaves outside, because the line runs along the edge's normal or the image is too small, is then
/// reflected by the rule of `MirrorBorderCondition`, so that every coordinate has an answer. Planes, sequence and
/// spectral axis follow `MirrorBorderCondition`.
///
/// In detail: let (sx, sy) be the signs of the directions in which an element (column, row) lies outside, 0 for an axis
/// on which it is inside, and (dx, dy) its distance in elements from the edge element nearest to it. The reflected
/// element lies at the edge element plus (sx, sy) / 2 + R ((dx, dy) - (sx, sy) / 2), with R the reflection
/// {cos 2a, sin 2a; sin 2a, -cos 2a}; halves are rounded toward the edge element. With an angle that is a multiple of a
/// right angle the policy is `MirrorBorderCondition`.
///
/// Rows above and below the image are shifted rows of it and read as such; elements left and right of it are read one
/// by one.
template <class T>
class RIX_EXPORT DirectionalMirrorBorderCondition : public BorderCondition<T> {
public:
    /// @param angle of the line in radians, from the column axis toward the row axis (clockwise in a picture whose
    ///        rows run down)
    /// @throws InvalidCall when the angle is infinite or not a number
    explicit DirectionalMirrorBorderCondition(double angle);
    static std::shared_ptr<DirectionalMirrorBorderCondition> New(double angle);
    void getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row, std::int64_t plane,
                 std::int64_t sequence, std::int64_t spectral) const override;
    double angle() const { return m_angle; }

private:
    double m_angle;
    double m_cosine;  ///< of twice the angle
    double m_sine;    ///< of twice the angle
};

// The library holds them compiled. Macros, because an explicit instantiation cannot come out of a template.
#define RIX_FOR_BORDER_CONDITIONS(DO, T) \
    DO class NoBorderCondition<T>;       \
    DO class FixedBorderCondition<T>;    \
    DO class MirrorBorderCondition<T>;   \
    DO class ContinueBorderCondition<T>; \
    DO class DirectionalMirrorBorderCondition<T>;

#define RIX_FOR_BORDER_TYPES(DO)                       \
    RIX_FOR_BORDER_CONDITIONS(DO, std::uint8_t)        \
    RIX_FOR_BORDER_CONDITIONS(DO, std::uint16_t)       \
    RIX_FOR_BORDER_CONDITIONS(DO, std::uint32_t)       \
    RIX_FOR_BORDER_CONDITIONS(DO, std::int8_t)         \
    RIX_FOR_BORDER_CONDITIONS(DO, std::int16_t)        \
    RIX_FOR_BORDER_CONDITIONS(DO, std::int32_t)        \
    RIX_FOR_BORDER_CONDITIONS(DO, float)               \
    RIX_FOR_BORDER_CONDITIONS(DO, double)              \
    RIX_FOR_BORDER_CONDITIONS(DO, std::complex<float>) \
    RIX_FOR_BORDER_CONDITIONS(DO, std::complex<double>)

RIX_FOR_BORDER_TYPES(extern template)
#undef RIX_FOR_BORDER_TYPES
#undef RIX_FOR_BORDER_CONDITIONS

}  // namespace rix::access
