// Angles and arcs, as DoubleMath-inl.h, which is included before. Included once a pass by files of kernels.

#if defined(RIX_SIMD_TRIGONOMETRY) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_SIMD_TRIGONOMETRY
#undef RIX_SIMD_TRIGONOMETRY
#else
#define RIX_SIMD_TRIGONOMETRY
#endif

#include <rix/simd/AngleReduction.h>
#include <rix/simd/DoubleMath-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::simd::HWY_NAMESPACE {

/// Reduces angles up to `largestSimpleAngle`: by pi/2 in parts of 33 bits, whose products with the number of quarter
/// turns are exact.
HWY_INLINE ReducedAngle reduceAngle(double x) {
    constexpr double parts[] = {0x1.921fb54400000p+0, 0x1.0b4611a600000p-34, 0x1.3198a2e000000p-69,
                                0x1.b839a252049c1p-104};
    const double n = (x * 0x1.45f306dc9c883p-1 + integerShift) - integerShift;
    const Pair first = exactSum(x - n * parts[0], -(n * parts[1]));
    const Pair second = exactSum(first.high, -(n * parts[2]));
    const Pair sum = exactSum(second.high, second.low + (first.low - n * parts[3]));
    return {sum.high, sum.low, n};
}

/// sin(x + rest) for |x| up to pi/4.
HWY_INLINE Pair sineOfReduced(double x, double rest) {
    constexpr double coefficients[] = {-0x1.5555555555555p-3, 0x1.1111111110bb2p-7,   -0x1.a01a019e83816p-13,
                                       0x1.71de379654304p-19, -0x1.ae600aca92c64p-26, 0x1.5e0b05bff20f2p-33};
    const double z = x * x;
    return exactSum(x, x * z * polynomial(z, coefficients) + rest * (1.0 - 0.5 * z));
}

/// cos(x + rest) for |x| up to pi/4.
HWY_INLINE Pair cosineOfReduced(double x, double rest) {
    constexpr double coefficients[] = {0x1.5555555555555p-5,   -0x1.6c16c16c16967p-10, 0x1.a01a019f4e9b4p-16,
                                       -0x1.27e4fa17bf139p-22, 0x1.1eeb68cd22f56p-29,  -0x1.907d8f29fe7e1p-37};
    const double z = x * x;
    const double half = 0.5 * z;
    const double top = 1.0 - half;
    return exactSum(top, ((1.0 - top) - half) + (z * z * polynomial(z, coefficients) - x * rest));
}

/// Whether a number of quarter turns has a bit, 1 or 2.
HWY_INLINE bool hasBit(double quarterTurns, std::uint64_t bit) {
    return (bitsOf(quarterTurns + integerShift) & bit) != 0;
}

HWY_INLINE double sineOf(const ReducedAngle& a) {
    const double sine = sineOfReduced(a.angle, a.rest).high;
    const double cosine = cosineOfReduced(a.angle, a.rest).high;
    const double value = hasBit(a.quarterTurns, 1) ? cosine : sine;
    return hasBit(a.quarterTurns, 2) ? -value : value;
}

HWY_INLINE double cosineOf(const ReducedAngle& a) {
    const double sine = sineOfReduced(a.angle, a.rest).high;
    const double cosine = cosineOfReduced(a.angle, a.rest).high;
    const double value = hasBit(a.quarterTurns, 1) ? sine : cosine;
    return hasBit(a.quarterTurns + 1.0, 2) ? -value : value;
}

HWY_INLINE double tangentOf(const ReducedAngle& a) {
    const Pair sine = sineOfReduced(a.angle, a.rest);
    const Pair cosine = cosineOfReduced(a.angle, a.rest);
    const bool isOdd = hasBit(a.quarterTurns, 1);
    const Pair numerator{isOdd ? -cosine.high : sine.high, isOdd ? -cosine.low : sine.low};
    const Pair denominator{isOdd ? sine.high : cosine.high, isOdd ? sine.low : cosine.low};
    // What the quotient of the first parts leaves over: else three roundings add up.
    const double quotient = numerator.high / denominator.high;
    const Pair back = exactProduct(quotient, denominator.high);
    const double left = ((numerator.high - back.high) - back.low) + (numerator.low - quotient * denominator.low);
    const double correction = left / denominator.high;
    return magnitude(quotient) < 0x1p900 ? quotient + correction : quotient;
}

/// The arc tangent, by its addition theorem at 1/2, 1, 3/2 and infinity.
HWY_INLINE double arcTangentOf(double x) {
    constexpr double coefficients[] = {-0x1.5555555555554p-2, 0x1.9999999998863p-3,  -0x1.24924923b09bfp-3,
                                       0x1.c71c71366bfc2p-4,  -0x1.745cff64fb1e8p-4, 0x1.3b1161c0261b4p-4,
                                       -0x1.10ed20cc03917p-4, 0x1.df0bad09fa62cp-5,  -0x1.9c616e7e61a95p-5,
                                       0x1.35dd3ba3a06adp-5,  -0x1.1f7e7048b0a6fp-6};
    const double a = magnitude(x);
    const bool beyondSeven = a >= 7.0 / 16.0;
    const bool beyondEleven = a >= 11.0 / 16.0;
    const bool beyondNineteen = a >= 19.0 / 16.0;
    const bool beyondThirtyNine = a >= 39.0 / 16.0;
    // (a - c) / (1 + c a)
    const double center = beyondNineteen ? 1.5 : beyondEleven ? 1.0 : beyondSeven ? 0.5 : 0.0;
    const double numerator = beyondThirtyNine ? -1.0 : a - center;
    const double denominator = beyondThirtyNine ? a : 1.0 + center * a;
    const double high = beyondThirtyNine ? 0x1.921fb54442d18p+0
                        : beyondNineteen ? 0x1.f730bd281f69bp-1
                        : beyondEleven   ? 0x1.921fb54442d18p-1
                        : beyondSeven    ? 0x1.dac670561bb4fp-2
                                         : 0.0;
    const double low = beyondThirtyNine ? 0x1.1a62633145c07p-54
                       : beyondNineteen ? 0x1.007887af0cbbdp-56
                       : beyondEleven   ? 0x1.1a62633145c07p-55
                       : beyondSeven    ? 0x1.a2b7f222f65e2p-56
                                        : 0.0;
    const double t = numerator / denominator;
    const double z = t * t;
    return withSignOf(high + (t + (t * z * polynomial(z, coefficients) + low)), x);
}

/// The angle of the point (x, y), as the language's `atan2`.
HWY_INLINE double arcTangent2Of(double y, double x) {
    const double height = magnitude(y);
    const double width = magnitude(x);
    const double quotient = height / width;
    const double ofEqual = height == 0.0 || height == infinityValue ? (height == 0.0 ? 0.0 : 1.0) : quotient;
    const double angle = arcTangentOf(height == width ? ofEqual : quotient);
    const bool isLeft = (bitsOf(x) >> 63) != 0;
    const double mirrored = 0x1.921fb54442d18p+1 - (angle - 0x1.1a62633145c07p-53);
    const double value = withSignOf(isLeft ? mirrored : angle, y);
    return x == x && y == y ? value : notANumber;
}

/// asin(t) - t over t, for z = t^2 up to 1/4.
HWY_INLINE double arcSineSeries(double z) {
    constexpr double coefficients[] = {
        0x1.5555555555556p-3, 0x1.3333333332ecap-4,  0x1.6db6db6e31f13p-5, 0x1.f1c71c1db0623p-6, 0x1.6e8bb1c8209a2p-6,
        0x1.1c4d35cf95421p-6, 0x1.c9cf07674736ap-7,  0x1.782651caa6547p-7, 0x1.52420b04b37bep-7, 0x1.65a9c4dfcf8b2p-8,
        0x1.1d189408314eep-6, -0x1.e6aaa8a0a04ccp-7, 0x1.d72b2bc8155f8p-6};
    return z * polynomial(z, coefficients);
}

/// The root of z as a pair, z not small.
HWY_INLINE Pair preciseRoot(double z) {
    const double root = __builtin_sqrt(z);
    const Pair square = exactProduct(root, root);
    const double rest = ((z - square.high) - square.low) / (2.0 * root);
    return {root, root > 0.0 ? rest : 0.0};
}

constexpr Pair halfPi{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54};

/// Beyond 1/2 by asin(a) = pi/2 - 2 asin(sqrt((1 - a) / 2)).
HWY_INLINE double arcSineOf(double x) {
    const double a = magnitude(x);
    const bool isLarge = a > 0.5;
    const double z = isLarge ? 0.5 * (1.0 - a) : a * a;
    const Pair root = preciseRoot(z);
    const double t = isLarge ? root.high : a;
    const double rest = t * arcSineSeries(z);
    const double small = t + rest;
    const double twice = 2.0 * t;
    const Pair first = exactSum(halfPi.high, -twice);
    const double large = first.high + (first.low + (halfPi.low - 2.0 * (rest + root.low)));
    return withSignOf(isLarge ? large : small, x);
}

HWY_INLINE double arcCosineOf(double x) {
    const double a = magnitude(x);
    const bool isLarge = a > 0.5;
    const double z = isLarge ? 0.5 * (1.0 - a) : a * a;
    const Pair root = preciseRoot(z);
    const double t = isLarge ? root.high : x;
    const double rest = t * arcSineSeries(z);
    const Pair middle = exactSum(halfPi.high, -t);
    const double near = middle.high + (middle.low + (halfPi.low - rest));
    const double positive = 2.0 * (t + (rest + root.low));
    const Pair from = exactSum(2.0 * halfPi.high, -2.0 * t);
    const double negative = from.high + (from.low + (2.0 * halfPi.low - 2.0 * (rest + root.low)));
    const double large = x > 0.0 ? positive : negative;
    return isLarge ? large : near;
}

HWY_INLINE double cubeRootOf(double x) {
    const double a = magnitude(x);
    const bool isSmall = a < 0x1p-1022;
    const bool isLarge = a > 0x1p1000;  // twice it may be no double
    const double raised = a * 0x1p54;
    const double lowered = a * 0x1p-54;
    const double number = isSmall ? raised : isLarge ? lowered : a;
    // A third of the exponent, within 4 % of the root; each step makes of an error e two thirds of its cube.
    double root = ofBits(bitsOf(number) / 3 + 0x2a9f7893782da1ce);
    for (int step = 0; step < 2; ++step) {
        const double cube = root * root * root;
        root = root * ((cube + 2.0 * number) / (2.0 * cube + number));
    }
    const double shortRoot = ofBits(bitsOf(root) & ~((std::uint64_t{1} << 27) - 1));  // its square is exact
    const double square = shortRoot * shortRoot;
    const double quotient = number / square;
    const double exact = shortRoot + shortRoot * ((quotient - shortRoot) / (2.0 * shortRoot + quotient));
    const double value = exact * (isSmall ? 0x1p-18 : isLarge ? 0x1p18 : 1.0);
    return a > 0.0 && a < infinityValue ? withSignOf(value, x) : x;
}

}  // namespace rix::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
