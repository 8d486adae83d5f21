#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace rix::filtering::frequency {

/// What a transform of lines goes from and to; forward has the sign - in the exponent.
enum class LineKind : std::uint8_t { RealForward, RealBackward, Forward, Backward };

constexpr bool isReal(LineKind kind) {
    return kind == LineKind::RealForward || kind == LineKind::RealBackward;
}
constexpr bool isBackward(LineKind kind) {
    return kind == LineKind::Backward || kind == LineKind::RealBackward;
}

/// The library behind `LineTransform`: oneMKL or, in builds without it, the kissfft of Eigen.
template <class Real>
class LineEngine {
public:
    using Complex = std::complex<Real>;

    /// Whether the engine is fast and within the promised error for lines of a length; it is for those without prime
    /// factors but 2, 3 and 5.
    static bool serves(std::size_t length);

    /// @param length at least 2
    /// @throws MemoryError when there is no memory, or the length is beyond what the engine can count
    LineEngine(std::size_t length, LineKind kind, double scale);
    ~LineEngine();
    LineEngine(const LineEngine&) = delete;
    LineEngine& operator=(const LineEngine&) = delete;

    void forward(const Real* samples, Complex* coefficients) const;
    void backward(const Complex* coefficients, Real* samples) const;
    void inPlace(Complex* line) const;

private:
    struct Library;

    std::unique_ptr<Library> m_library;
};

extern template class LineEngine<float>;
extern template class LineEngine<double>;

}  // namespace rix::filtering::frequency
