#pragma once

#include <complex>

/// Products and quotients of complex numbers that kernels cannot make fast: overflow on the way, cancellation, infinite
/// operands. The kernels handle ordinary numbers themselves and come here for the others.
namespace rix::simd {

/// The product. Each part is within one unit in the last place of its exact value when the operands are finite; else
/// the product is that of the language (`std::complex`), which keeps infinities.
std::complex<double> multiplyComplex(std::complex<double> a, std::complex<double> b);

/// The quotient, as accurate; (0, 0) where both parts of the divisor are 0.
std::complex<double> divideComplex(std::complex<double> a, std::complex<double> b);

/// The same for parts of single precision.
std::complex<float> multiplyComplex(std::complex<float> a, std::complex<float> b);
std::complex<float> divideComplex(std::complex<float> a, std::complex<float> b);

}  // namespace rix::simd
