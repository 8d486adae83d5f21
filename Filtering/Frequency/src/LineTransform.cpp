#include "LineTransform.h"

#include <algorithm>

#include <rix/access/Scratch.h>

#include "Chirp.h"

namespace rix::filtering::frequency {

using access::Scratch;
using Wide = std::complex<double>;

template <class Real>
std::size_t LineTransform<Real>::workBytes(std::size_t length) {
    return length == 1 || LineEngine<Real>::serves(length)
               ? 0
               : Scratch::held(length * sizeof(Wide)) + Scratch::held(Chirp::workElements(length) * sizeof(Wide));
}

template <class Real>
LineTransform<Real>::LineTransform(std::size_t length, LineKind kind, double scale)
    : m_length(length), m_backward(isBackward(kind)), m_scale(static_cast<Real>(scale)) {
    if (length == 1) {
        return;
    }
    if (LineEngine<Real>::serves(length)) {
        m_engine = std::make_unique<const LineEngine<Real>>(length, kind, scale);
    } else {
        m_chirp = std::make_unique<const Chirp>(length);
    }
}

template <class Real>
LineTransform<Real>::~LineTransform() = default;

/// Calls `load(line)` and, when it is transformed, `store(line)`.
template <class Real>
template <class Load, class Store>
void LineTransform<Real>::throughChirp(const Load& load, const Store& store) const {
    const Scratch memory(m_length * sizeof(Wide));
    const Scratch work(Chirp::workElements(m_length) * sizeof(Wide));
    Wide* const line = memory.as<Wide>();
    load(line);
    m_chirp->run(line, work.as<Wide>());
    store(line);
}

template <class Real>
void LineTransform<Real>::forward(const Real* samples, Complex* coefficients) const {
    if (m_length == 1) {
        *coefficients = *samples * m_scale;
        return;
    }
    if (m_engine != nullptr) {
        m_engine->forward(samples, coefficients);
        return;
    }
    throughChirp([&](Wide* line) { std::copy_n(samples, m_length, line); },
                 [&](const Wide* line) {
                     for (std::size_t k = 0; k <= m_length / 2; ++k) {
                         coefficients[k] = m_scale * Complex(line[k]);
                     }
                 });
}

template <class Real>
void LineTransform<Real>::backward(const Complex* coefficients, Real* samples) const {
    if (m_length == 1) {
        *samples = coefficients->real() * m_scale;
        return;
    }
    if (m_engine != nullptr) {
        m_engine->backward(coefficients, samples);
        return;
    }
    // Forward, of the conjugate line: its result is real.
    throughChirp(
        [&](Wide* line) {
            for (std::size_t k = 0; k <= m_length / 2; ++k) {
                line[k] = std::conj(Wide(coefficients[k]));
                line[(m_length - k) % m_length] = Wide(coefficients[k]);
            }
            line[0].imag(0);
            if (m_length % 2 == 0) {
                line[m_length / 2].imag(0);
            }
        },
        [&](const Wide* line) {
            for (std::size_t i = 0; i < m_length; ++i) {
                samples[i] = m_scale * static_cast<Real>(line[i].real());
            }
        });
}

template <class Real>
void LineTransform<Real>::inPlace(Complex* line) const {
    if (m_length == 1) {
        *line *= m_scale;
        return;
    }
    if (m_engine != nullptr) {
        m_engine->inPlace(line);
        return;
    }
    const auto turned = [this](const auto& value) { return m_backward ? std::conj(value) : value; };
    throughChirp(
        [&](Wide* wide) {
            for (std::size_t i = 0; i < m_length; ++i) {
                wide[i] = turned(Wide(line[i]));
            }
        },
        [&](const Wide* wide) {
            for (std::size_t i = 0; i < m_length; ++i) {
                line[i] = m_scale * Complex(turned(wide[i]));
            }
        });
}

template class LineTransform<float>;
template class LineTransform<double>;

}  // namespace rix::filtering::frequency
