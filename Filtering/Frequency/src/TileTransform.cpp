#include "TileTransform.h"

#include <algorithm>
#include <type_traits>

#ifdef RIX_HAVE_MKL
#include "MklTransform.h"
#else
#include <vector>

#include "LineTransform.h"
#endif

namespace rix::filtering::frequency {

std::size_t fastExtent(std::size_t n) {
    if (n <= 1) {
        return 1;
    }
    for (std::size_t candidate = n + n % 2;; candidate += 2) {
        std::size_t rest = candidate;
        for (const std::size_t prime : {2U, 3U, 5U}) {
            while (rest % prime == 0) {
                rest /= prime;
            }
        }
        if (rest == 1) {
            return candidate;
        }
    }
}

#ifdef RIX_HAVE_MKL

template <class Real>
struct TileTransform<Real>::Engine {
    static constexpr DFTI_CONFIG_VALUE precision = std::is_same_v<Real, float> ? DFTI_SINGLE : DFTI_DOUBLE;

    explicit Engine(const TileExtents& n) : layout(n), forward(make()), backward(make()) {
        forward.set(DFTI_INPUT_STRIDES, layout.samples);
        forward.set(DFTI_OUTPUT_STRIDES, layout.coefficients);
        forward.commit();
        backward.set(DFTI_INPUT_STRIDES, layout.coefficients);
        backward.set(DFTI_OUTPUT_STRIDES, layout.samples);
        backward.commit();
    }
    MklTransform make() { return MklTransform(precision, static_cast<MKL_LONG>(layout.axes), layout.lengths); }

    /// The slowest axis first, without those that are none.
    struct Layout {
        explicit Layout(const TileExtents& n) : axes(n[2] > 1 ? 3 : n[1] > 1 ? 2 : 1) {
            std::size_t samplePitch = 1;
            std::size_t coefficientPitch = 1;
            for (std::size_t axis = 0; axis < axes; ++axis) {
                lengths[axes - 1 - axis] = static_cast<MKL_LONG>(n[axis]);
                samples[axes - axis] = static_cast<MKL_LONG>(samplePitch);
                coefficients[axes - axis] = static_cast<MKL_LONG>(coefficientPitch);
                samplePitch *= n[axis];
                coefficientPitch *= axis == 0 ? n[0] / 2 + 1 : n[axis];
            }
        }
        std::size_t axes;
        MKL_LONG lengths[3] = {};
        MKL_LONG samples[4] = {};
        MKL_LONG coefficients[4] = {};
    };

    Layout layout;
    MklTransform forward;
    MklTransform backward;
};

template <class Real>
void TileTransform<Real>::forward(Real* tile, std::complex<Real>* spectrum) const {
    checkMkl(DftiComputeForward(m_engine->forward.handle(), tile, spectrum));
}

template <class Real>
void TileTransform<Real>::backward(std::complex<Real>* spectrum, Real* tile) const {
    checkMkl(DftiComputeBackward(m_engine->backward.handle(), spectrum, tile));
}

#else

template <class Real>
struct TileTransform<Real>::Engine {
    using Complex = std::complex<Real>;

    /// The transforms of one direction, an axis each.
    struct Way {
        Way(const TileExtents& n, LineKind along, LineKind across)
            : extents(n), rows(n[0], along, 1), columns(n[1], across, 1), depths(n[2], across, 1) {}

        /// Transforms along the rows and planes of a spectrum, a line at a time.
        void across(Complex* spectrum) const {
            const std::size_t width = extents[0] / 2 + 1;
            std::vector<Complex> line(std::max(extents[1], extents[2]));
            const auto alongAxis = [&](const LineTransform<Real>& transform, Complex* first, std::size_t count,
                                       std::size_t pitch) {
                for (std::size_t i = 0; i < count; ++i) {
                    line[i] = first[i * pitch];
                }
                transform.inPlace(line.data());
                for (std::size_t i = 0; i < count; ++i) {
                    first[i * pitch] = line[i];
                }
            };
            for (std::size_t plane = 0; extents[1] > 1 && plane < extents[2]; ++plane) {
                for (std::size_t column = 0; column < width; ++column) {
                    alongAxis(columns, spectrum + plane * extents[1] * width + column, extents[1], width);
                }
            }
            for (std::size_t i = 0; extents[2] > 1 && i < extents[1] * width; ++i) {
                alongAxis(depths, spectrum + i, extents[2], extents[1] * width);
            }
        }

        TileExtents extents;
        LineTransform<Real> rows;
        LineTransform<Real> columns;
        LineTransform<Real> depths;
    };

    explicit Engine(const TileExtents& n)
        : there(n, LineKind::RealForward, LineKind::Forward), back(n, LineKind::RealBackward, LineKind::Backward) {}

    Way there;
    Way back;
};

template <class Real>
void TileTransform<Real>::forward(Real* tile, std::complex<Real>* spectrum) const {
    const std::size_t width = m_extents[0] / 2 + 1;
    for (std::size_t row = 0; row < m_extents[1] * m_extents[2]; ++row) {
        m_engine->there.rows.forward(tile + row * m_extents[0], spectrum + row * width);
    }
    m_engine->there.across(spectrum);
}

template <class Real>
void TileTransform<Real>::backward(std::complex<Real>* spectrum, Real* tile) const {
    m_engine->back.across(spectrum);
    const std::size_t width = m_extents[0] / 2 + 1;
    for (std::size_t row = 0; row < m_extents[1] * m_extents[2]; ++row) {
        m_engine->back.rows.backward(spectrum + row * width, tile + row * m_extents[0]);
    }
}

#endif

template <class Real>
TileTransform<Real>::TileTransform(const TileExtents& extents)
    : m_extents(extents), m_engine(std::make_unique<Engine>(extents)) {}

template <class Real>
TileTransform<Real>::~TileTransform() = default;

template class TileTransform<float>;
template class TileTransform<double>;

}  // namespace rix::filtering::frequency
