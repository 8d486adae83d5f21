#pragma once

namespace rix::point_operations {

/// `simd::multiplyComplex` and `simd::divideComplex` on plain pairs of parts: kernels call them for the numbers that
/// they don't handle, and nothing of std::complex may be compiled for a higher instruction set.
void carefulProduct(const float* a, const float* b, float* out);
void carefulProduct(const double* a, const double* b, double* out);
void carefulQuotient(const float* a, const float* b, float* out);
void carefulQuotient(const double* a, const double* b, double* out);

}  // namespace rix::point_operations
