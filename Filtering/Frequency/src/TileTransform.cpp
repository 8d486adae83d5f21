#include "TileTransform.h"

#include <algorithm>
#include <string>
#include <type_traits>

#ifdef RIX_HAVE_MKL
#include <dlfcn.h>
#include <mkl_dfti.h>
#else
#include <vector>

#include <unsupported/Eigen/FFT>
#endif

#include <rix/exceptions/Exception.h>
#include <rix/filtering/frequency/FourierEngine.h>

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

std::string_view getFourierEngine() {
    return "oneMKL";
}

namespace {

void check(MKL_LONG status) {
    if (status == DFTI_NO_ERROR) {
        return;
    }
    const std::string reason = DftiErrorMessage(status);
    if (DftiErrorClass(status, DFTI_MEMORY_ERROR) != 0) {
        throw MemoryError("There is no memory for a Fourier transform: " + reason);
    }
    throw UnexpectedError("The Fourier transform failed: " + reason);
}

/// oneMKL loads its kernels for the processor when they are first needed, and these look for oneMKL's core among the
/// symbols that all see. Where this library is seen by its loader only, as in an interpreter, so is the core, and
/// oneMKL would end the process.
void showCoreToKernels() {
    static const bool shown = [] {
        for (const char* const library : {"libmkl_core.so", "libmkl_intel_thread.so", "libmkl_intel_lp64.so"}) {
            ::dlopen(library, RTLD_LAZY | RTLD_GLOBAL | RTLD_NOLOAD);  // for good: null where it is linked otherwise
        }
        return true;
    }();
    static_cast<void>(shown);
}

/// One direction; committed, it is only read.
class Descriptor {
public:
    Descriptor(DFTI_CONFIG_VALUE precision, const TileExtents& n, bool backward) {
        showCoreToKernels();
        MKL_LONG lengths[3];
        MKL_LONG samples[4] = {0};
        MKL_LONG coefficients[4] = {0};
        // The slowest axis first, without those that are none.
        const std::size_t axes = n[2] > 1 ? 3 : n[1] > 1 ? 2 : 1;
        constexpr MKL_LONG single = 1;
        std::size_t samplePitch = 1;
        std::size_t coefficientPitch = 1;
        for (std::size_t axis = 0; axis < axes; ++axis) {
            lengths[axes - 1 - axis] = static_cast<MKL_LONG>(n[axis]);
            samples[axes - axis] = static_cast<MKL_LONG>(samplePitch);
            coefficients[axes - axis] = static_cast<MKL_LONG>(coefficientPitch);
            samplePitch *= n[axis];
            coefficientPitch *= axis == 0 ? n[0] / 2 + 1 : n[axis];
        }
        check(axes == 1 ? DftiCreateDescriptor(&m_handle, precision, DFTI_REAL, 1, lengths[0])
                        : DftiCreateDescriptor(&m_handle, precision, DFTI_REAL, static_cast<MKL_LONG>(axes), lengths));
        try {
            check(DftiSetValue(m_handle, DFTI_PLACEMENT, DFTI_NOT_INPLACE));
            check(DftiSetValue(m_handle, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX));
            check(DftiSetValue(m_handle, DFTI_INPUT_STRIDES, backward ? coefficients : samples));
            check(DftiSetValue(m_handle, DFTI_OUTPUT_STRIDES, backward ? samples : coefficients));
            check(DftiSetValue(m_handle, DFTI_THREAD_LIMIT, single));
            check(DftiCommitDescriptor(m_handle));
        } catch (...) {
            DftiFreeDescriptor(&m_handle);
            throw;
        }
    }
    ~Descriptor() { DftiFreeDescriptor(&m_handle); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    DFTI_DESCRIPTOR_HANDLE handle() const { return m_handle; }

private:
    DFTI_DESCRIPTOR_HANDLE m_handle = nullptr;
};

}  // namespace

template <class Real>
struct TileTransform<Real>::Engine {
    static constexpr DFTI_CONFIG_VALUE precision = std::is_same_v<Real, float> ? DFTI_SINGLE : DFTI_DOUBLE;

    explicit Engine(const TileExtents& extents)
        : forward(precision, extents, false), backward(precision, extents, true) {}

    Descriptor forward;
    Descriptor backward;
};

template <class Real>
void TileTransform<Real>::forward(Real* tile, std::complex<Real>* spectrum) const {
    check(DftiComputeForward(m_engine->forward.handle(), tile, spectrum));
}

template <class Real>
void TileTransform<Real>::backward(std::complex<Real>* spectrum, Real* tile) const {
    check(DftiComputeBackward(m_engine->backward.handle(), spectrum, tile));
}

#else

std::string_view getFourierEngine() {
    return "kissfft";
}

template <class Real>
struct TileTransform<Real>::Engine {
    using Complex = std::complex<Real>;
    using Transform = Eigen::FFT<Real>;

    explicit Engine(const TileExtents& /*extents*/) {}

    // It keeps tables of what it has transformed, and so belongs to one thread.
    static Transform make() {
        Transform transform;
        transform.SetFlag(Transform::HalfSpectrum);
        transform.SetFlag(Transform::Unscaled);
        return transform;
    }

    /// Transforms along the rows and planes of a spectrum, a line at a time.
    static void across(Transform& transform, const TileExtents& n, Complex* spectrum, bool back) {
        const std::size_t columns = n[0] / 2 + 1;
        std::vector<Complex> line(std::max(n[1], n[2]));
        std::vector<Complex> transformed(line.size());
        const auto alongAxis = [&](Complex* first, std::size_t count, std::size_t pitch) {
            for (std::size_t i = 0; i < count; ++i) {
                line[i] = first[i * pitch];
            }
            const auto length = static_cast<Eigen::Index>(count);
            if (back) {
                transform.inv(transformed.data(), line.data(), length);
            } else {
                transform.fwd(transformed.data(), line.data(), length);
            }
            for (std::size_t i = 0; i < count; ++i) {
                first[i * pitch] = transformed[i];
            }
        };
        for (std::size_t plane = 0; n[1] > 1 && plane < n[2]; ++plane) {
            for (std::size_t column = 0; column < columns; ++column) {
                alongAxis(spectrum + plane * n[1] * columns + column, n[1], columns);
            }
        }
        for (std::size_t i = 0; n[2] > 1 && i < n[1] * columns; ++i) {
            alongAxis(spectrum + i, n[2], n[1] * columns);
        }
    }
};

template <class Real>
void TileTransform<Real>::forward(Real* tile, std::complex<Real>* spectrum) const {
    auto transform = Engine::make();
    const std::size_t columns = m_extents[0] / 2 + 1;
    for (std::size_t row = 0; row < m_extents[1] * m_extents[2]; ++row) {
        if (m_extents[0] > 1) {
            transform.fwd(spectrum + row * columns, tile + row * m_extents[0], static_cast<Eigen::Index>(m_extents[0]));
        } else {
            spectrum[row] = tile[row];
        }
    }
    Engine::across(transform, m_extents, spectrum, false);
}

template <class Real>
void TileTransform<Real>::backward(std::complex<Real>* spectrum, Real* tile) const {
    auto transform = Engine::make();
    Engine::across(transform, m_extents, spectrum, true);
    const std::size_t columns = m_extents[0] / 2 + 1;
    for (std::size_t row = 0; row < m_extents[1] * m_extents[2]; ++row) {
        if (m_extents[0] > 1) {
            transform.inv(tile + row * m_extents[0], spectrum + row * columns, static_cast<Eigen::Index>(m_extents[0]));
        } else {
            tile[row] = spectrum[row].real();
        }
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
