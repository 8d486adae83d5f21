#include <rix/simd/ComplexMath.h>

#include <cmath>

namespace rix::simd {

namespace {

/// Holds the product of two doubles exactly, and the range of squares of doubles.
__extension__ using Wide = __float128;

template <class Real>
struct WideFor {
    using type = Wide;
};
/// Holds the product of two floats exactly.
template <>
struct WideFor<float> {
    using type = double;
};

template <class Real>
bool isFinite(const std::complex<Real>& value) {
    return std::isfinite(value.real()) && std::isfinite(value.imag());
}

template <class Real>
std::complex<Real> multiply(const std::complex<Real>& a, const std::complex<Real>& b) {
    if (!isFinite(a) || !isFinite(b)) {
        return a * b;
    }
    using W = typename WideFor<Real>::type;
    const W ar = a.real();
    const W ai = a.imag();
    const W br = b.real();
    const W bi = b.imag();
    return {static_cast<Real>(ar * br - ai * bi), static_cast<Real>(ar * bi + ai * br)};
}

template <class Real>
std::complex<Real> divide(const std::complex<Real>& a, const std::complex<Real>& b) {
    if (b.real() == 0 && b.imag() == 0) {
        return {};
    }
    if (!isFinite(a) || !isFinite(b)) {
        return a / b;
    }
    using W = typename WideFor<Real>::type;
    const W ar = a.real();
    const W ai = a.imag();
    const W br = b.real();
    const W bi = b.imag();
    const W norm = br * br + bi * bi;
    return {static_cast<Real>((ar * br + ai * bi) / norm), static_cast<Real>((ai * br - ar * bi) / norm)};
}

}  // namespace

std::complex<double> multiplyComplex(std::complex<double> a, std::complex<double> b) {
    return multiply(a, b);
}

std::complex<double> divideComplex(std::complex<double> a, std::complex<double> b) {
    return divide(a, b);
}

std::complex<float> multiplyComplex(std::complex<float> a, std::complex<float> b) {
    return multiply(a, b);
}

std::complex<float> divideComplex(std::complex<float> a, std::complex<float> b) {
    return divide(a, b);
}

}  // namespace rix::simd
