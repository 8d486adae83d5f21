// Transforms of lines by oneMKL.

#include <type_traits>

#include <rix/filtering/frequency/FourierEngine.h>

#include "LineTransform.h"
#include "MklTransform.h"

namespace rix::filtering::frequency {

std::string_view getFourierEngine() {
    return "oneMKL";
}

template <class Real>
struct LineTransform<Real>::Engine {
    static constexpr DFTI_CONFIG_VALUE precision = std::is_same_v<Real, float> ? DFTI_SINGLE : DFTI_DOUBLE;

    Engine(std::size_t length, LineKind kind, double scale)
        : backward(kind == LineKind::Backward || kind == LineKind::RealBackward),
          transform(precision, isReal(kind) ? DFTI_REAL : DFTI_COMPLEX, static_cast<MKL_LONG>(length)) {
        if (isReal(kind)) {
            transform.set(DFTI_PLACEMENT, DFTI_NOT_INPLACE);
        }
        transform.set(backward ? DFTI_BACKWARD_SCALE : DFTI_FORWARD_SCALE, scale);
        transform.commit();
    }
    static bool isReal(LineKind kind) { return kind == LineKind::RealForward || kind == LineKind::RealBackward; }

    bool backward;
    MklTransform transform;
};

template <class Real>
LineTransform<Real>::LineTransform(std::size_t length, LineKind kind, double scale)
    : m_length(length), m_scale(static_cast<Real>(scale)) {
    if (length > 1) {
        m_engine = std::make_unique<Engine>(length, kind, scale);
    }
}

template <class Real>
LineTransform<Real>::~LineTransform() = default;

template <class Real>
void LineTransform<Real>::forward(const Real* samples, Complex* coefficients) const {
    if (m_length == 1) {
        *coefficients = *samples * m_scale;
        return;
    }
    // It only reads what it transforms out of place.
    checkMkl(DftiComputeForward(m_engine->transform.handle(), const_cast<Real*>(samples), coefficients));
}

template <class Real>
void LineTransform<Real>::backward(const Complex* coefficients, Real* samples) const {
    if (m_length == 1) {
        *samples = coefficients->real() * m_scale;
        return;
    }
    checkMkl(DftiComputeBackward(m_engine->transform.handle(), const_cast<Complex*>(coefficients), samples));
}

template <class Real>
void LineTransform<Real>::inPlace(Complex* line) const {
    if (m_length == 1) {
        *line *= m_scale;
    } else if (m_engine->backward) {
        checkMkl(DftiComputeBackward(m_engine->transform.handle(), line));
    } else {
        checkMkl(DftiComputeForward(m_engine->transform.handle(), line));
    }
}

template class LineTransform<float>;
template class LineTransform<double>;

}  // namespace rix::filtering::frequency
