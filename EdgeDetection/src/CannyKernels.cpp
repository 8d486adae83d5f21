#include "CannyKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "CannyKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Between four magnitudes: `here` and its neighbours along x, along y and along both.
template <class D, class V>
HWY_INLINE V interpolated(D d, V here, V alongX, V alongY, V alongBoth, V x, V y) {
    const auto one = hn::Set(d, hn::TFromD<D>(1));
    const auto restX = hn::Sub(one, x);
    const auto restY = hn::Sub(one, y);
    const auto first = hn::Add(hn::Mul(restX, here), hn::Mul(x, alongX));
    const auto second = hn::Add(hn::Mul(restX, alongY), hn::Mul(x, alongBoth));
    return hn::Add(hn::Mul(restY, first), hn::Mul(y, second));
}

template <class T>
struct Compared {
    T after;
    T before;
};

/// A vector of magnitudes that are greatest along the gradient, else 0.
template <class D, class T>
HWY_INLINE hn::Vec<D> greatestAt(D d, const GradientRows<T>& rows, std::size_t x) {
    const T* const above = rows.magnitudes[1][0] + x;
    const T* const middle = rows.magnitudes[1][1] + x;
    const T* const below = rows.magnitudes[1][2] + x;
    const auto m = hn::LoadU(d, middle);
    const auto stepX = hn::Mul(hn::Div(hn::LoadU(d, rows.components[0] + x), m), hn::Set(d, rows.step[0]));
    const auto stepY = hn::Mul(hn::Div(hn::LoadU(d, rows.components[1] + x), m), hn::Set(d, rows.step[1]));
    const auto zero = hn::Zero(d);
    const auto toRight = hn::Ge(stepX, zero);
    const auto toBelow = hn::Ge(stepY, zero);
    const auto lengthX = hn::Abs(stepX);
    const auto lengthY = hn::Abs(stepY);
    const auto left = hn::LoadU(d, middle - 1);
    const auto right = hn::LoadU(d, middle + 1);
    const auto up = hn::LoadU(d, above);
    const auto down = hn::LoadU(d, below);
    const auto upLeft = hn::LoadU(d, above - 1);
    const auto upRight = hn::LoadU(d, above + 1);
    const auto downLeft = hn::LoadU(d, below - 1);
    const auto downRight = hn::LoadU(d, below + 1);
    const auto after = interpolated(
        d, m, hn::IfThenElse(toRight, right, left), hn::IfThenElse(toBelow, down, up),
        hn::IfThenElse(toBelow, hn::IfThenElse(toRight, downRight, downLeft), hn::IfThenElse(toRight, upRight, upLeft)),
        lengthX, lengthY);
    const auto before = interpolated(
        d, m, hn::IfThenElse(toRight, left, right), hn::IfThenElse(toBelow, up, down),
        hn::IfThenElse(toBelow, hn::IfThenElse(toRight, upLeft, upRight), hn::IfThenElse(toRight, downLeft, downRight)),
        lengthX, lengthY);
    return hn::IfThenElseZero(hn::And(hn::Gt(m, before), hn::Ge(m, after)), m);
}

/// Classes of voxels on their way to edges.
enum EdgeClass : std::uint8_t { NoEdge = 0, WeakEdge = 1, StrongEdge = 2 };

/// Classes of magnitudes, 0 for those that are not greatest.
template <class T>
void classesOf(const T* magnitudes, T lower, T upper, std::uint8_t* out, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const T m = magnitudes[x];
        const int isWeak = static_cast<int>(m > T{0}) & static_cast<int>(m >= lower);
        const int isStrong = static_cast<int>(m >= upper);
        out[x] = static_cast<std::uint8_t>(isWeak + (isWeak & isStrong));
    }
}

/// Bits of classes, eight at a time; behind the last class are `NoEdge`s.
void pack(const std::uint8_t* classes, std::size_t count, std::uint64_t* weak, std::uint64_t* strong) {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    constexpr std::uint64_t gather = 0x0102040810204080U;  // moves the lowest bit of each byte to the last byte
    std::uint8_t bitsOfWeak[classifiedColumns / 8];
    std::uint8_t bitsOfStrong[classifiedColumns / 8];
    const std::size_t words = (count + 63) / 64;
    for (std::size_t i = 0; i < 8 * words; ++i) {
        std::uint64_t eight = 0;
        __builtin_memcpy(&eight, classes + 8 * i, sizeof(eight));
        const std::uint64_t second = eight >> 1 & ones;
        bitsOfWeak[i] = static_cast<std::uint8_t>(((eight & ones) | second) * gather >> 56);
        bitsOfStrong[i] = static_cast<std::uint8_t>(second * gather >> 56);
    }
    __builtin_memcpy(weak, bitsOfWeak, words * 8);
    __builtin_memcpy(strong, bitsOfStrong, words * 8);
}

void expand(const std::uint64_t* bits, std::size_t begin, std::uint8_t* out, std::size_t count) {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    constexpr std::uint64_t scatter = 0x0002040810204081U;  // a copy of seven bits for each byte, one bit apart
    std::size_t x = 0;
    for (; x < count && (begin + x) % 8 != 0; ++x) {
        out[x] = static_cast<std::uint8_t>(bits[(begin + x) / 64] >> (begin + x) % 64 & 1U);
    }
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(bits) + (begin + x) / 8;
    for (std::size_t i = 0; x + 8 <= count; x += 8, ++i) {
        const std::uint64_t byte = bytes[i];
        const std::uint64_t eight = ((byte & 0x7FU) * scatter & ones) | (byte >> 7 << 56);
        __builtin_memcpy(out + x, &eight, sizeof(eight));
    }
    for (; x < count; ++x) {
        out[x] = static_cast<std::uint8_t>(bits[(begin + x) / 64] >> (begin + x) % 64 & 1U);
    }
}

template <class T>
void classify2(const GradientRows<T>& rows, std::size_t begin, std::size_t count, std::uint64_t* weak,
               std::uint64_t* strong) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    HWY_ALIGN T greatest[classifiedColumns];
    HWY_ALIGN std::uint8_t classes[classifiedColumns];
    std::size_t x = 0;
    for (; x + lanes <= count; x += lanes) {
        hn::StoreU(greatestAt(d, rows, begin + x), d, greatest + x);
    }
    for (; x < count; ++x) {
        const hn::CappedTag<T, 1> one;
        hn::StoreU(greatestAt(one, rows, begin + x), one, greatest + x);
    }
    classesOf(greatest, rows.lower, rows.upper, classes, count);
    __builtin_memset(classes + count, NoEdge, classifiedColumns - count);
    pack(classes, count, weak, strong);
}

template <class T>
HWY_INLINE T between(T here, T there, T share) {
    return (T{1} - share) * here + share * there;
}

/// @param sign 1 along the gradient, -1 against it
template <std::size_t axes, class T>
HWY_INLINE T magnitudeAt(const GradientRows<T>& rows, std::size_t x, const T* steps, T sign) {
    std::ptrdiff_t to[3] = {0, 0, 0};
    T shares[3] = {0, 0, 0};
    for (std::size_t axis = 0; axis < axes; ++axis) {
        const bool isUp = steps[axis] >= T{0};
        to[axis] = isUp == (sign > T{0}) ? 1 : -1;
        shares[axis] = isUp ? steps[axis] : -steps[axis];
    }
    T planes[2] = {0, 0};
    for (std::ptrdiff_t z = 0; z < (axes == 3 ? 2 : 1); ++z) {
        T lines[2];
        for (std::ptrdiff_t y = 0; y < 2; ++y) {
            const T* const row = rows.magnitudes[1 + z * to[2]][1 + y * to[1]] + x;
            lines[y] = between(row[0], row[to[0]], shares[0]);
        }
        planes[z] = between(lines[0], lines[1], shares[1]);
    }
    return axes == 3 ? between(planes[0], planes[1], shares[2]) : planes[0];
}

template <std::size_t axes, class T>
HWY_INLINE Compared<T> comparedAt(const GradientRows<T>& rows, std::size_t x) {
    const T m = rows.magnitudes[1][1][x];
    T steps[3] = {0, 0, 0};
    for (std::size_t axis = 0; axis < axes; ++axis) {
        steps[axis] = rows.components[axis][x] / m * rows.step[axis];
    }
    return {magnitudeAt<axes>(rows, x, steps, T{1}), magnitudeAt<axes>(rows, x, steps, T{-1})};
}

template <class T>
void classify3(const GradientRows<T>& rows, std::size_t begin, std::size_t count, std::uint64_t* weak,
               std::uint64_t* strong) {
    std::uint8_t classes[classifiedColumns] = {};
    for (std::size_t x = 0; x < count; ++x) {
        const T m = rows.magnitudes[1][1][begin + x];
        if (m > T{0} && m >= rows.lower) {
            const Compared<T> compared = comparedAt<3>(rows, begin + x);
            if (m > compared.before && m >= compared.after) {
                classes[x] = m >= rows.upper ? StrongEdge : WeakEdge;
            }
        }
    }
    pack(classes, count, weak, strong);
}

template <class T>
CannyKernels<T> kernels() {
    return {&classify2<T>, &classify3<T>, &expand};
}

template <class T>
Compared<T> compared(const GradientRows<T>& rows, std::size_t x, std::size_t axes) {
    return axes == 3 ? comparedAt<3>(rows, x) : comparedAt<2>(rows, x);
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::edge_detection {

template <class T>
CannyKernels<T> cannyKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template <class T>
std::array<T, 2> magnitudesAlong(const GradientRows<T>& rows, std::size_t x, std::size_t axes) {
    const auto compared = HWY_NAMESPACE::compared(rows, x, axes);
    return {compared.before, compared.after};
}

template CannyKernels<float> cannyKernels<float>(OptimLevelType);
template CannyKernels<double> cannyKernels<double>(OptimLevelType);
template std::array<float, 2> magnitudesAlong<float>(const GradientRows<float>&, std::size_t, std::size_t);
template std::array<double, 2> magnitudesAlong<double>(const GradientRows<double>&, std::size_t, std::size_t);

}  // namespace rix::edge_detection
#endif
