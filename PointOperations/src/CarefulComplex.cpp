#include "CarefulComplex.h"

#include <complex>

#include <rix/simd/ComplexMath.h>

namespace rix::point_operations {

namespace {

template <class Real>
void store(const std::complex<Real>& value, Real* out) {
    out[0] = value.real();
    out[1] = value.imag();
}

}  // namespace

void carefulProduct(const float* a, const float* b, float* out) {
    store(simd::multiplyComplex(std::complex<float>(a[0], a[1]), std::complex<float>(b[0], b[1])), out);
}

void carefulProduct(const double* a, const double* b, double* out) {
    store(simd::multiplyComplex(std::complex<double>(a[0], a[1]), std::complex<double>(b[0], b[1])), out);
}

void carefulQuotient(const float* a, const float* b, float* out) {
    store(simd::divideComplex(std::complex<float>(a[0], a[1]), std::complex<float>(b[0], b[1])), out);
}

void carefulQuotient(const double* a, const double* b, double* out) {
    store(simd::divideComplex(std::complex<double>(a[0], a[1]), std::complex<double>(b[0], b[1])), out);
}

}  // namespace rix::point_operations
