#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>

/// Element-wise arithmetic of a vector-math library over rows: oneMKL's where the build has it, else Eigen's.
namespace rix::simd {

enum class VectorOperation : std::uint8_t { Add, Subtract, Multiply, Divide };

/// `out[i] = first[i] operation second[i]`; `out` may be an operand.
template <class T>
using VectorRow = void (*)(const T* first, const T* second, T* out, std::size_t count);

/// The library's function for an operation on `float`, `double` or complex samples, or null where it has none that
/// gives the results that all levels of optimisation share:
/// - Sums, differences and real products are the IEEE results, bit for bit, subnormal numbers included.
/// - Complex products and quotients are within two units in the last place, part by part; a zero divisor gives 0, and
///   infinite or NaN operands give what `multiplyComplex` and `divideComplex` give. Only oneMKL is that accurate.
/// - There is no real division: oneMKL's most accurate one misses the IEEE quotient by one unit in 3 of 1000 random
///   pairs of single precision and in 1 of 1000 of double precision (2020.4, measured).
///
/// The functions run on the calling thread alone and leave the library's process-wide mode and number of threads as
/// they are.
template <class T>
VectorRow<T> vectorRow(VectorOperation operation);

}  // namespace rix::simd
