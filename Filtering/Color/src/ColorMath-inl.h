// The curves of colour spaces in plain arithmetic and selections, which the compiler vectorises: the same bits with
// every instruction set. Included once a pass by files of kernels.

#if defined(RIX_COLOR_MATH) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_COLOR_MATH
#undef RIX_COLOR_MATH
#else
#define RIX_COLOR_MATH
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::color::HWY_NAMESPACE {

template <class Real>
HWY_INLINE Real smaller(Real a, Real b) {
    return a < b ? a : b;
}
template <class Real>
HWY_INLINE Real clamped(Real value, Real lowest, Real highest) {
    const Real above = value < lowest ? lowest : value;
    return above > highest ? highest : above;
}

/// `condition ? a : b` by bits. Of the plain choice the compiler makes a branch around what takes long to compute, and
/// then no vectors.
HWY_INLINE float chosen(bool condition, float a, float b) {
    const std::uint32_t mask = condition ? ~std::uint32_t{0} : std::uint32_t{0};
    return __builtin_bit_cast(
        float, (__builtin_bit_cast(std::uint32_t, a) & mask) | (__builtin_bit_cast(std::uint32_t, b) & ~mask));
}
HWY_INLINE double chosen(bool condition, double a, double b) {
    const std::uint64_t mask = condition ? ~std::uint64_t{0} : std::uint64_t{0};
    return __builtin_bit_cast(
        double, (__builtin_bit_cast(std::uint64_t, a) & mask) | (__builtin_bit_cast(std::uint64_t, b) & ~mask));
}

HWY_INLINE float squareRoot(float x) {
    return __builtin_sqrtf(x);
}
HWY_INLINE double squareRoot(double x) {
    return __builtin_sqrt(x);
}

/// What is left of an angle when whole turns are taken off, from 0 to less than a turn; angles of more than a million
/// turns are not for this.
template <class Real>
HWY_INLINE Real withinTurn(Real angle, Real turn) {
    constexpr Real shift = sizeof(Real) == sizeof(float) ? Real(0x1.8p23) : static_cast<Real>(0x1.8p52);
    const Real turns = angle / turn;
    const Real nearest = (turns + shift) - shift;
    const Real left = angle - nearest * turn;
    const Real positive = left < Real(0) ? left + turn : left;
    return positive >= turn ? Real(0) : positive;
}

/// A step of third order, without divisions, from nearly x^(-1/n) to nearer. (Written as a loop, two of them keep the
/// compiler from vectorising.)
template <int n, class Real>
HWY_INLINE Real nearerInverseRoot(Real x, Real y) {
    static_assert(n == 3 || n == 5);
    constexpr Real first = Real(1) / Real(n);
    constexpr Real second = Real(1 + n) / Real(2 * n * n);
    const Real square = y * y;
    const Real power = n == 3 ? square * y : square * square * y;
    const Real rest = Real(1) - x * power;
    return y + y * (rest * (first + second * rest));
}

/// x^(-1/n) for a positive x, n = 3 or 5, within 3.4 and 3.1 %. The bits of a real are nearly its logarithm: divided by
/// n they are nearly that of the root.
template <int n>
HWY_INLINE float roughInverseRoot(float x) {
    constexpr float start = n == 3 ? 0x1.5288e0p+30F : 0x1.30ae98p+30F;  // the least largest error
    const auto bits = static_cast<float>(__builtin_bit_cast(std::int32_t, x));
    return __builtin_bit_cast(float, static_cast<std::int32_t>(start - bits * (1.0F / n)));
}
/// The same within 1.1e-7.
template <int n>
HWY_INLINE float inverseRoot(float x) {
    return nearerInverseRoot<n>(x, nearerInverseRoot<n>(x, roughInverseRoot<n>(x)));
}
/// The same with the digits of a double, for what single precision has the range of.
template <int n>
HWY_INLINE double inverseRoot(double x) {
    return nearerInverseRoot<n>(x, static_cast<double>(inverseRoot<n>(static_cast<float>(x))));
}

/// The cube root of a positive real. The last step takes off what its cube has too much.
template <class Real>
HWY_INLINE Real cubeRoot(Real x) {
    const Real inverse = inverseRoot<3>(x);
    const Real square = inverse * inverse;
    const Real root = x * square;
    return root - (root * root * root - x) * square * static_cast<Real>(1.0 / 3.0);
}

/// In single precision one step to 4.6e-5 does: the last one squares it. Its coefficients are those of the least
/// largest error of (1 - r)^(-1/3) where r may lie, found by exchange (Remez 1934).
HWY_INLINE float cubeRoot(float x) {
    const float rough = roughInverseRoot<3>(x);
    const float rest = 1.0F - x * (rough * rough * rough);
    const float inverse = rough * (0x1.000028p+0F + rest * (0x1.56b6e6p-2F + rest * 0x1.c69ef8p-3F));
    const float square = inverse * inverse;
    const float root = x * square;
    return root - (root * root * root - x) * square * (1.0F / 3.0F);
}

/// x^2.4 for a positive x, within 6e-7 of its value: from y, roughly x^(-1/5), as (x y)^3 (x y^5)^(-3/5), whose last
/// factor is a polynomial like that above, within 1.4e-7. Its terms are added in pairs, which wait less for each other.
HWY_INLINE float lightPower(float x) {
    const float y = roughInverseRoot<5>(x);
    const float square = y * y;
    const float rest = 1.0F - x * (square * (square * y));
    const float rest2 = rest * rest;
    const float factor =
        (0x1.000002p+0F + rest * 0x1.3332fep-1F) +
        rest2 * ((0x1.eb6adp-2F + rest * 0x1.aa49ccp-2F) + rest2 * (0x1.8b082ap-2F + rest * 0x1.5a9818p-2F));
    const float root = x * y;
    return root * root * root * factor;
}
template <class Real>
HWY_INLINE Real lightPower(Real x) {
    const Real root = x * inverseRoot<5>(x);  // x^0.8
    return root * root * root;
}

HWY_INLINE float magnitudeOf(float value) {
    return __builtin_bit_cast(float, __builtin_bit_cast(std::uint32_t, value) & 0x7fffffffU);
}
HWY_INLINE double magnitudeOf(double value) {
    return __builtin_bit_cast(double, __builtin_bit_cast(std::uint64_t, value) & ~(std::uint64_t{1} << 63));
}
/// A positive value with the sign of another one.
HWY_INLINE float signedAs(float sign, float value) {
    return __builtin_bit_cast(
        float, (__builtin_bit_cast(std::uint32_t, sign) & 0x80000000U) | __builtin_bit_cast(std::uint32_t, value));
}
HWY_INLINE double signedAs(double sign, double value) {
    return __builtin_bit_cast(double, (__builtin_bit_cast(std::uint64_t, sign) & (std::uint64_t{1} << 63)) |
                                          __builtin_bit_cast(std::uint64_t, value));
}

/// The share of light that a value of sRGB stands for.
template <class Real>
HWY_INLINE Real lightOf(Real signal) {
    const Real magnitude = magnitudeOf(signal);
    const Real base = (magnitude + static_cast<Real>(0.055)) * static_cast<Real>(1.0 / 1.055);
    return chosen(magnitude > static_cast<Real>(0.04045), signedAs(signal, lightPower(base)),
                  signal * static_cast<Real>(1.0 / 12.92));
}

/// The value of sRGB for a share of light.
template <class Real>
HWY_INLINE Real signalOf(Real light) {
    const Real magnitude = magnitudeOf(light);
    const Real root = squareRoot(magnitude);
    const Real fourth = squareRoot(root);
    const Real power = root * inverseRoot<3>(fourth);  // light^(1/2 - 1/12)
    const Real value = static_cast<Real>(1.055) * power - static_cast<Real>(0.055);
    return chosen(magnitude > static_cast<Real>(0.0031308), signedAs(light, value), light * static_cast<Real>(12.92));
}

/// CIE's f, of which lightness is made: a cube root, but a line below 216 / 24389.
template <class Real>
HWY_INLINE Real lightnessCurve(Real t) {
    const Real line = t * static_cast<Real>(841.0 / 108.0) + static_cast<Real>(4.0 / 29.0);
    return chosen(t > static_cast<Real>(216.0 / 24389.0), cubeRoot(t), line);
}
template <class Real>
HWY_INLINE Real lightnessInverse(Real f) {
    const Real line = (f - static_cast<Real>(4.0 / 29.0)) * static_cast<Real>(108.0 / 841.0);
    return chosen(f > static_cast<Real>(6.0 / 29.0), f * f * f, line);
}

}  // namespace rix::filtering::color::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
