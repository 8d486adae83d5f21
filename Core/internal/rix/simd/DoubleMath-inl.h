// Functions of doubles from plain arithmetic and selections, which the compiler vectorises: the same bits with every
// instruction set. Polynomials are interpolations at Chebyshev's nodes, computed with 300 bits; reductions follow
// W. J. Cody and W. Waite, Software Manual for the Elementary Functions, 1980, and K. C. Ng, FDLIBM, 1993. Included
// once a pass by files of kernels.

#if defined(RIX_SIMD_DOUBLE_MATH) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_SIMD_DOUBLE_MATH
#undef RIX_SIMD_DOUBLE_MATH
#else
#define RIX_SIMD_DOUBLE_MATH
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::simd::HWY_NAMESPACE {

/// Added to a real of less than 2^51 it leaves the nearest integer in the low bits.
constexpr double integerShift = 0x1.8p52;
constexpr double infinityValue = __builtin_inf();
constexpr double notANumber = __builtin_nan("");

HWY_INLINE std::uint64_t bitsOf(double value) {
    return __builtin_bit_cast(std::uint64_t, value);
}
HWY_INLINE double ofBits(std::uint64_t bits) {
    return __builtin_bit_cast(double, bits);
}
HWY_INLINE double magnitude(double value) {
    return ofBits(bitsOf(value) & ~(std::uint64_t{1} << 63));
}
HWY_INLINE double withSignOf(double value, double sign) {
    constexpr std::uint64_t signBit = std::uint64_t{1} << 63;
    return ofBits((bitsOf(value) & ~signBit) | (bitsOf(sign) & signBit));
}

template <std::size_t n>
HWY_INLINE double polynomial(double x, const double (&coefficients)[n]) {
    double value = coefficients[n - 1];
    for (std::size_t i = n - 1; i > 0; --i) {
        value = value * x + coefficients[i - 1];
    }
    return value;
}

/// A sum of two doubles, the second below half a unit in the last place of the first or nearly so.
struct Pair {
    double high;
    double low;
};

/// a + b, exactly (D. E. Knuth, The Art of Computer Programming 2, 4.2.2).
HWY_INLINE Pair exactSum(double a, double b) {
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

/// a b, exactly where nothing overflows (T. J. Dekker, 1971): without fused operations, which not all levels have.
HWY_INLINE Pair exactProduct(double a, double b) {
    constexpr double splitter = 134217729.0;
    const double scaledA = splitter * a;
    const double scaledB = splitter * b;
    const double highA = scaledA - (scaledA - a);
    const double highB = scaledB - (scaledB - b);
    const double lowA = a - highA;
    const double lowB = b - highB;
    const double product = a * b;
    return {product, ((highA * highB - product) + highA * lowB + lowA * highB) + lowA * lowB};
}

HWY_INLINE Pair product(Pair a, Pair b) {
    Pair result = exactProduct(a.high, b.high);
    result.low += a.high * b.low + a.low * b.high;
    return result;
}

/// 2^n for n from -1022 to 1023, given as a double with the integer in its low bits.
HWY_INLINE double powerOfTwo(double shifted) {
    return ofBits((bitsOf(shifted) + 1023) << 52);
}

/// exp(x + rest), rest small.
HWY_INLINE double expOf(double x, double rest) {
    constexpr double coefficients[] = {0x1.0000000000000p-1,  0x1.5555555555557p-3,  0x1.5555555555556p-5,
                                       0x1.11111111100dfp-7,  0x1.6c16c16c162d6p-10, 0x1.a01a01abe6323p-13,
                                       0x1.a01a01a6d7831p-16, 0x1.71de0237484cdp-19, 0x1.27e4db67ac2b0p-22,
                                       0x1.af4ddda1c08cdp-26, 0x1.1f72fc83bcbc7p-29};
    constexpr double ln2High = 0x1.62e42fee00000p-1;
    constexpr double ln2Low = 0x1.a39ef35793c76p-33;
    const double above = x < -746.0 ? -746.0 : x;
    const double within = above > 710.0 ? 710.0 : above;
    const double shifted = within * 0x1.71547652b82fep+0 + integerShift;
    const double n = shifted - integerShift;
    const Pair r = exactSum(within - n * ln2High, -(n * ln2Low));
    const double curved = r.high * r.high * polynomial(r.high, coefficients);
    const double tail = (r.low + rest) * (1.0 + (r.high + curved));
    const double value = 1.0 + (r.high + (curved + tail));
    // In two steps: the power alone may be too large or too small for a double.
    const double halfShifted = n * 0.5 + integerShift;
    const double half = halfShifted - integerShift;
    return value * powerOfTwo(halfShifted) * powerOfTwo((n - half) + integerShift);
}

/// A positive number as 2^exponent (1 + f), 1 + f between the roots of 1/2 and 2.
struct Split {
    double exponent;
    double f;
};

HWY_INLINE Split splitNumber(double x) {
    const bool isSmall = x < 0x1p-1022;
    const double scaled = x * 0x1p54;
    const double normal = isSmall ? scaled : x;
    const std::uint64_t offset = bitsOf(0x1.6a09e667f3bcdp-1);
    const std::uint64_t distance = bitsOf(normal) - offset;
    const std::uint64_t mantissa = (distance & ((std::uint64_t{1} << 52) - 1)) + offset;
    // The exponent, which may be negative, goes into the low bits of a double.
    const double shifted = ofBits(((distance >> 52) & 0xfff) + bitsOf(0x1p52));
    const double biased = shifted - 0x1p52;
    const double wrapped = biased > 2047.0 ? biased - 4096.0 : biased;
    return {wrapped - (isSmall ? 54.0 : 0.0), ofBits(mantissa) - 1.0};
}

/// What a logarithm of x is where x is no positive, finite number; `value` where it is.
HWY_INLINE double logarithmOr(double x, double value) {
    const double ofSmall = x == 0.0 ? -infinityValue : notANumber;
    const double ofLarge = x < infinityValue ? value : x;  // infinity and NaN stay
    return x <= 0.0 ? ofSmall : ofLarge;
}

HWY_INLINE double logOf(double x) {
    constexpr double coefficients[] = {0x1.5555555555558p-1, 0x1.9999999995273p-2, 0x1.2492492dfd86cp-2,
                                       0x1.c71c62d5e53e0p-3, 0x1.7462b91b8df65p-3, 0x1.39fdcceb4bb45p-3,
                                       0x1.2b5f68a50d903p-3};
    constexpr double ln2High = 0x1.62e42fee00000p-1;
    constexpr double ln2Low = 0x1.a39ef35793c76p-33;
    const Split split = splitNumber(x);
    const double f = split.f;
    const double s = f / (2.0 + f);
    const double z = s * s;
    const double halfSquare = 0.5 * f * f;
    // log(1 + f) = f - f^2 / 2 + s (f^2 / 2 + z R(z)), whose first terms are exact or nearly so.
    const double small = s * (halfSquare + z * polynomial(z, coefficients)) + split.exponent * ln2Low;
    return logarithmOr(x, split.exponent * ln2High - ((halfSquare - small) - f));
}

/// log(1 + f) to about 64 bits.
HWY_INLINE Pair precisePart(double f) {
    constexpr double coefficients[] = {0x1.999999999999fp-2, 0x1.249249248e4d8p-2, 0x1.c71c71d7fbbacp-3,
                                       0x1.745d09e3d8240p-3, 0x1.3b18bc82cc774p-3, 0x1.1018374c7ec19p-3,
                                       0x1.087e4945649f2p-3};
    constexpr Pair twoThirds{0x1.5555555555555p-1, 0x1.5555555555555p-55};
    const Pair divisor = exactSum(2.0, f);
    const double quotient = f / divisor.high;
    const Pair back = exactProduct(quotient, divisor.high);
    const double rest = (((f - back.high) - back.low) - quotient * divisor.low) / divisor.high;
    const Pair s{quotient, rest};
    const Pair square = product(s, s);
    const Pair cubic = product(product(square, s), twoThirds);
    const double fifth = quotient * square.high * square.high * polynomial(square.high, coefficients);
    const Pair two = exactSum(2.0 * s.high, cubic.high);
    return exactSum(two.high, two.low + (2.0 * s.low + (cubic.low + fifth)));
}

HWY_INLINE double log2Of(double x) {
    constexpr Pair inverse{0x1.71547652b82fep+0, 0x1.777d0ffda0d24p-56};
    const Split split = splitNumber(x);
    const Pair part = product(precisePart(split.f), inverse);
    const Pair sum = exactSum(split.exponent, part.high);
    return logarithmOr(x, sum.high + (sum.low + part.low));
}

HWY_INLINE double log10Of(double x) {
    constexpr Pair inverse{0x1.bcb7b1526e50ep-2, 0x1.95355baaafad3p-57};
    constexpr double high = 0x1.3441350800000p-2;
    constexpr double low = 0x1.f79fef311f12bp-34;
    const Split split = splitNumber(x);
    const Pair part = product(precisePart(split.f), inverse);
    const Pair whole = exactSum(split.exponent * high, split.exponent * low);
    const Pair sum = exactSum(whole.high, part.high);
    return logarithmOr(x, sum.high + (sum.low + (whole.low + part.low)));
}

/// x^y as the language's `pow`.
HWY_INLINE double powerOf(double x, double y) {
    constexpr double ln2High = 0x1.62e42fee00000p-1;
    constexpr double ln2Low = 0x1.a39ef35793c76p-33;
    const double base = magnitude(x);
    const double exponent = magnitude(y);
    const Split split = splitNumber(base);
    const Pair part = precisePart(split.f);
    const Pair whole = exactSum(split.exponent * ln2High, split.exponent * ln2Low);
    const Pair sum = exactSum(whole.high, part.high);
    const Pair logarithm = exactSum(sum.high, sum.low + (whole.low + part.low));
    // Beyond that the power is 0, 1 or infinite.
    const double bounded = withSignOf(exponent > 0x1p70 ? 0x1p70 : exponent, y);
    const Pair scaled = product(logarithm, {bounded, 0.0});
    const bool isOrdinary = magnitude(scaled.high) < 800.0;
    const double finite = expOf(scaled.high, isOrdinary ? scaled.low : 0.0);
    const bool grows = (base > 1.0) == (y > 0.0);
    const double extreme = grows ? infinityValue : 0.0;
    double value = base > 0.0 && base < infinityValue ? finite : extreme;
    const double floored = (exponent + 0x1p52) - 0x1p52;
    const double half = exponent * 0.5;
    const bool isWhole = exponent >= 0x1p52 || floored == exponent;
    const bool isOdd = isWhole && exponent < 0x1p53 && (half + 0x1p52) - 0x1p52 != half;
    value = isOdd ? withSignOf(value, x) : value;
    value = x < 0.0 && base < infinityValue && !isWhole ? notANumber : value;
    value = x == x && y == y ? value : notANumber;
    return y == 0.0 || x == 1.0 ? 1.0 : value;
}

}  // namespace rix::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
