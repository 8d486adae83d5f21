#include "MathKernels.h"

#include <rix/simd/AngleReduction.h>
#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MathKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>
#include <rix/simd/DoubleMath-inl.h>
#include <rix/simd/Trigonometry-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::manipulation::HWY_NAMESPACE {

using namespace simd::HWY_NAMESPACE;

/// The nearest integer, ties to even, by the rounding of a sum; what is larger is one.
HWY_INLINE double nearestInteger(double x) {
    const double a = magnitude(x);
    const double rounded = (a + 0x1p52) - 0x1p52;
    return withSignOf(a < 0x1p52 ? rounded : a, x);
}
HWY_INLINE double floorOf(double x) {
    const double nearest = nearestInteger(x);
    return withSignOf(nearest > x ? nearest - 1.0 : nearest, x);
}
HWY_INLINE double ceilingOf(double x) {
    const double nearest = nearestInteger(x);
    return withSignOf(nearest < x ? nearest + 1.0 : nearest, x);
}
HWY_INLINE double truncationOf(double x) {
    return withSignOf(floorOf(magnitude(x)), x);
}
HWY_INLINE double signOf(double x) {
    const double one = withSignOf(1.0, x);
    return magnitude(x) > 0.0 ? one : x;
}

// A function of a value as a type, so that the loops below are made for each.
#define RIX_MATH_FUNCTION(Name, expression)     \
    struct Name {                               \
        HWY_INLINE static double of(double x) { \
            return expression;                  \
        }                                       \
    };
RIX_MATH_FUNCTION(AbsoluteOf, magnitude(x))
RIX_MATH_FUNCTION(SquareRootOf, __builtin_sqrt(x))
RIX_MATH_FUNCTION(ExponentialOf, expOf(x, 0.0))
RIX_MATH_FUNCTION(LogarithmOf, logOf(x))
RIX_MATH_FUNCTION(ArcSineOf, arcSineOf(x))
RIX_MATH_FUNCTION(ArcCosineOf, arcCosineOf(x))
RIX_MATH_FUNCTION(ArcTangentOf, arcTangentOf(x))
RIX_MATH_FUNCTION(Logarithm2Of, log2Of(x))
RIX_MATH_FUNCTION(Logarithm10Of, log10Of(x))
RIX_MATH_FUNCTION(CubeRootOf, cubeRootOf(x))
RIX_MATH_FUNCTION(SquareOf, x* x)
RIX_MATH_FUNCTION(ReciprocalOf, 1.0 / x)
RIX_MATH_FUNCTION(SignOf, signOf(x))
RIX_MATH_FUNCTION(FloorOf, floorOf(x))
RIX_MATH_FUNCTION(CeilingOf, ceilingOf(x))
RIX_MATH_FUNCTION(RoundOf, nearestInteger(x))
RIX_MATH_FUNCTION(TruncateOf, truncationOf(x))
#undef RIX_MATH_FUNCTION

struct SineOf {
    static constexpr bool isOdd = true;
    HWY_INLINE static double of(const simd::ReducedAngle& angle) { return sineOf(angle); }
};
struct CosineOf {
    static constexpr bool isOdd = false;
    HWY_INLINE static double of(const simd::ReducedAngle& angle) { return cosineOf(angle); }
};
struct TangentOf {
    static constexpr bool isOdd = true;
    HWY_INLINE static double of(const simd::ReducedAngle& angle) { return tangentOf(angle); }
};

/// Floats are widened in pieces: loops over one type are vectorised, loops over floats and bits of doubles are not.
constexpr std::size_t widened = 128;

template <class Function, class T>
void rowOfValues(const T* in, T* out, std::size_t count) {
    if constexpr (sizeof(T) == sizeof(double)) {
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = Function::of(in[i]);
        }
    } else {
        double values[widened];
        for (std::size_t first = 0; first < count; first += widened) {
            const std::size_t length = count - first < widened ? count - first : widened;
            for (std::size_t i = 0; i < length; ++i) {
                values[i] = static_cast<double>(in[first + i]);
            }
            rowOfValues<Function, double>(values, values, length);
            for (std::size_t i = 0; i < length; ++i) {
                out[first + i] = static_cast<T>(values[i]);
            }
        }
    }
}

/// Angles are reduced first: nearly all of them in vectors, the large ones one by one.
template <class Function, class T>
void rowOfAngles(const T* in, T* out, std::size_t count) {
    constexpr std::size_t part = 128;
    double angles[part];
    double rests[part];
    double turns[part];
    for (std::size_t first = 0; first < count; first += part) {
        const std::size_t length = count - first < part ? count - first : part;
        std::uint64_t large = 0;
        for (std::size_t i = 0; i < length; ++i) {
            const auto x = static_cast<double>(in[first + i]);
            const simd::ReducedAngle reduced = reduceAngle(x);
            angles[i] = reduced.angle;
            rests[i] = reduced.rest;
            turns[i] = reduced.quarterTurns;
            large |= magnitude(x) <= simd::largestSimpleAngle ? 0U : 1U;
        }
        for (std::size_t i = 0; i < length && large != 0; ++i) {
            const auto x = static_cast<double>(in[first + i]);
            if (!(magnitude(x) <= simd::largestSimpleAngle)) {
                const simd::ReducedAngle reduced = simd::reduceLargeAngle(x);
                angles[i] = reduced.angle;
                rests[i] = reduced.rest;
                turns[i] = reduced.quarterTurns;
            }
        }
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = 0; i < length; ++i) {
            const T value = static_cast<T>(Function::of({angles[i], rests[i], turns[i]}));
            const T x = in[first + i];
            out[first + i] = Function::isOdd && x == T(0) ? x : value;  // a zero keeps its sign
        }
    }
}

template <class T>
MathRow<T> row(MathFunction function) {
    static constexpr MathRow<T> rows[] = {
        &rowOfValues<AbsoluteOf, T>,   &rowOfValues<SquareRootOf, T>, &rowOfValues<ExponentialOf, T>,
        &rowOfValues<LogarithmOf, T>,  &rowOfAngles<SineOf, T>,       &rowOfAngles<CosineOf, T>,
        &rowOfAngles<TangentOf, T>,    &rowOfValues<ArcSineOf, T>,    &rowOfValues<ArcCosineOf, T>,
        &rowOfValues<ArcTangentOf, T>, &rowOfValues<Logarithm2Of, T>, &rowOfValues<Logarithm10Of, T>,
        &rowOfValues<CubeRootOf, T>,   &rowOfValues<SquareOf, T>,     &rowOfValues<ReciprocalOf, T>,
        &rowOfValues<SignOf, T>,       &rowOfValues<FloorOf, T>,      &rowOfValues<CeilingOf, T>,
        &rowOfValues<RoundOf, T>,      &rowOfValues<TruncateOf, T>};
    return rows[static_cast<std::size_t>(function)];
}

template <class T>
void powerOfRow(const T* in, T* out, std::size_t count, double scale, double exponent) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        const auto x = static_cast<double>(in[i]);
        out[i] = static_cast<T>(withSignOf(scale * powerOf(magnitude(x) / scale, exponent), x));
    }
}

template <class T>
PowerRow<T> powers() {
    return &powerOfRow<T>;
}

}  // namespace rix::manipulation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::manipulation {

double nanosecondsOf(MathFunction function) {
    switch (function) {
        case MathFunction::Absolute:
        case MathFunction::Square:
        case MathFunction::Sign:
        case MathFunction::Floor:
        case MathFunction::Ceiling:
        case MathFunction::Round:
        case MathFunction::Truncate: return 0.5;
        case MathFunction::SquareRoot:
        case MathFunction::Reciprocal: return 1.5;
        default: return 6.0;
    }
}

template <class T>
MathRow<T> mathRow(MathFunction function, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, row<T>(function));
}
template MathRow<float> mathRow<float>(MathFunction, OptimLevelType);
template MathRow<double> mathRow<double>(MathFunction, OptimLevelType);

template <class T>
PowerRow<T> powerRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, powers<T>());
}
template PowerRow<float> powerRow<float>(OptimLevelType);
template PowerRow<double> powerRow<double>(OptimLevelType);

}  // namespace rix::manipulation
#endif
