#pragma once

#include <complex>
#include <cstddef>
#include <memory>

#include "LineEngine.h"

namespace rix::filtering::frequency {

class Chirp;

/// Fourier transforms of lines of one length, times a factor, on the calling thread: by `LineEngine`, where that does
/// not serve by Bluestein's method. What it makes of a line depends on nothing else. Any number of threads may use an
/// object.
template <class Real>
class LineTransform {
public:
    using Complex = std::complex<Real>;

    /// Working memory of a transform, in bytes.
    static std::size_t workBytes(std::size_t length);

    /// @param length at least 1
    /// @throws MemoryError when there is no memory, or the length is beyond what the engine can count
    LineTransform(std::size_t length, LineKind kind, double scale);
    ~LineTransform();
    LineTransform(const LineTransform&) = delete;
    LineTransform& operator=(const LineTransform&) = delete;

    /// Of a real line: the coefficients 0 to length / 2, from which the others follow.
    void forward(const Real* samples, Complex* coefficients) const;
    /// The way back. The imaginary parts of those coefficients that are real for a real line count as 0.
    void backward(const Complex* coefficients, Real* samples) const;
    /// Either way, by its kind.
    void inPlace(Complex* line) const;

private:
    template <class Load, class Store>
    void throughChirp(const Load& load, const Store& store) const;

    std::size_t m_length;
    bool m_backward;
    Real m_scale;
    std::unique_ptr<const LineEngine<Real>> m_engine;  ///< null for lines of one element
    std::unique_ptr<const Chirp> m_chirp;              ///< instead of the engine
};

extern template class LineTransform<float>;
extern template class LineTransform<double>;

}  // namespace rix::filtering::frequency
