// Transforms of lines by oneMKL.

#include <type_traits>

#include <rix/filtering/frequency/FourierEngine.h>

#include "LineEngine.h"
#include "MklTransform.h"

namespace rix::filtering::frequency {

std::string_view getFourierEngine() {
    return "oneMKL";
}

/// Its sums over prime factors of middle size are off by some units in the last place a term, in double precision more
/// than is promised; larger factors it takes another way, which is not.
template <class Real>
bool LineEngine<Real>::serves(std::size_t length) {
    constexpr std::size_t smallest = 17;
    constexpr std::size_t largest = 150;
    if (std::is_same_v<Real, float>) {
        return true;
    }
    for (std::size_t factor = 2; factor <= largest && factor <= length; ++factor) {
        for (; length % factor == 0; length /= factor) {
            if (factor >= smallest) {
                return false;
            }
        }
    }
    return true;
}

template <class Real>
struct LineEngine<Real>::Library {
    static constexpr DFTI_CONFIG_VALUE precision = std::is_same_v<Real, float> ? DFTI_SINGLE : DFTI_DOUBLE;

    Library(std::size_t length, LineKind kind, double scale)
        : backward(isBackward(kind)),
          transform(precision, isReal(kind) ? DFTI_REAL : DFTI_COMPLEX, static_cast<MKL_LONG>(length)) {
        if (isReal(kind)) {
            transform.set(DFTI_PLACEMENT, DFTI_NOT_INPLACE);
        }
        transform.set(backward ? DFTI_BACKWARD_SCALE : DFTI_FORWARD_SCALE, scale);
        transform.commit();
    }

    bool backward;
    MklTransform transform;
};

template <class Real>
LineEngine<Real>::LineEngine(std::size_t length, LineKind kind, double scale)
    : m_library(std::make_unique<Library>(length, kind, scale)) {}

template <class Real>
LineEngine<Real>::~LineEngine() = default;

template <class Real>
void LineEngine<Real>::forward(const Real* samples, Complex* coefficients) const {
    // It only reads what it transforms out of place.
    checkMkl(DftiComputeForward(m_library->transform.handle(), const_cast<Real*>(samples), coefficients));
}

template <class Real>
void LineEngine<Real>::backward(const Complex* coefficients, Real* samples) const {
    checkMkl(DftiComputeBackward(m_library->transform.handle(), const_cast<Complex*>(coefficients), samples));
}

template <class Real>
void LineEngine<Real>::inPlace(Complex* line) const {
    checkMkl(m_library->backward ? DftiComputeBackward(m_library->transform.handle(), line)
                                 : DftiComputeForward(m_library->transform.handle(), line));
}

template class LineEngine<float>;
template class LineEngine<double>;

}  // namespace rix::filtering::frequency
