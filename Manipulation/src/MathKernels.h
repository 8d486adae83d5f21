#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::manipulation {

/// Functions of one real. Those of both precisions are computed in double precision; of doubles they are within 2 units
/// in the last place, of floats within one, and the same bits on every level. Roots, magnitudes and integers are exact
/// or rounded once.
enum class MathFunction : std::uint8_t {
    Absolute,
    SquareRoot,
    Exponential,
    Logarithm,
    Sine,
    Cosine,
    Tangent,
    ArcSine,
    ArcCosine,
    ArcTangent,
    Logarithm2,
    Logarithm10,
    CubeRoot,
    Square,
    Reciprocal,
    Sign,  ///< -1 or 1; zeros and NaN stay
    Floor,
    Ceiling,
    Round,  ///< to nearest, ties to even
    Truncate
};

/// Rough cost of a sample in double precision.
double nanosecondsOf(MathFunction function);

/// `out` may be `in`.
template <class T>
using MathRow = void (*)(const T* in, T* out, std::size_t count);

/// @tparam T float or double
template <class T>
MathRow<T> mathRow(MathFunction function, OptimLevelType level);

/// `out[i]` = sign(in) scale (|in| / scale)^exponent.
template <class T>
using PowerRow = void (*)(const T* in, T* out, std::size_t count, double scale, double exponent);
template <class T>
PowerRow<T> powerRow(OptimLevelType level);

}  // namespace rix::manipulation
