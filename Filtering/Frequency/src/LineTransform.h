#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace rix::filtering::frequency {

/// What a transform of lines goes from and to; forward has the sign - in the exponent.
enum class LineKind : std::uint8_t { RealForward, RealBackward, Forward, Backward };

/// Fourier transforms of lines of one length, times a factor, on the calling thread. By oneMKL; in builds without it by
/// the kissfft of Eigen, around which Bluestein's method keeps lengths with large prime factors at n log n. What it
/// makes of a line depends on nothing else. Any number of threads may use an object.
template <class Real>
class LineTransform {
public:
    using Complex = std::complex<Real>;

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
    struct Engine;

    std::size_t m_length;
    Real m_scale;
    std::unique_ptr<Engine> m_engine;  ///< none for lines of one element
};

extern template class LineTransform<float>;
extern template class LineTransform<double>;

}  // namespace rix::filtering::frequency
