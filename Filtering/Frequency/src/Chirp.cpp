#include "Chirp.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "TileTransform.h"

namespace rix::filtering::frequency {

namespace {

/// Finite numbers only, or NaN: without the detours of the operator.
std::complex<double> product(const std::complex<double>& a, const std::complex<double>& b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

}  // namespace

std::size_t Chirp::workElements(std::size_t length) {
    return fastExtent(2 * length - 1);
}

Chirp::Chirp(std::size_t length)
    : m_padded(workElements(length)),
      m_forward(m_padded, LineKind::Forward, 1.0),
      m_backward(m_padded, LineKind::Backward, 1.0),
      m_chirp(length),
      m_filter(m_padded) {
    std::size_t square = 0;  // k^2 modulo 2 length, after which the chirp repeats
    for (std::size_t k = 0; k < length; ++k) {
        const double angle = std::numbers::pi * static_cast<double>(square) / static_cast<double>(length);
        m_chirp[k] = {std::cos(angle), -std::sin(angle)};
        m_filter[k] = std::conj(m_chirp[k]) / static_cast<double>(m_padded);
        m_filter[(m_padded - k) % m_padded] = m_filter[k];
        square = (square + 2 * k + 1) % (2 * length);
    }
    m_forward.inPlace(m_filter.data());
}

void Chirp::run(Complex* line, Complex* work) const {
    const std::size_t length = m_chirp.size();
    std::transform(line, line + length, m_chirp.begin(), work, product);
    std::fill(work + length, work + m_padded, Complex{});
    m_forward.inPlace(work);
    std::transform(work, work + m_padded, m_filter.begin(), work, product);
    m_backward.inPlace(work);
    std::transform(work, work + length, m_chirp.begin(), line, product);
}

}  // namespace rix::filtering::frequency
