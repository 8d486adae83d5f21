#include <rix/simd/VectorMath.h>

#include <algorithm>
#include <cmath>

#ifdef RIX_HAVE_MKL
#include <mkl_service.h>
#include <mkl_vml.h>
#else
#include <Eigen/Core>
#endif

#include <rix/simd/ComplexMath.h>

namespace rix::simd {

namespace {

#ifdef RIX_HAVE_MKL

/// High accuracy, subnormal numbers kept, no messages: given to each call, because the global mode belongs to the
/// application.
constexpr MKL_INT64 mode = VML_HA | VML_FTZDAZ_OFF | VML_ERRMODE_IGNORE;

/// Keeps oneMKL from forking threads of its own during a call from this thread.
class SingleThread {
public:
    SingleThread() : m_before(mkl_set_num_threads_local(1)) {}
    ~SingleThread() { mkl_set_num_threads_local(m_before); }
    SingleThread(const SingleThread&) = delete;
    SingleThread& operator=(const SingleThread&) = delete;

private:
    int m_before;
};

// The library's own sample types, by ours.
inline const float* native(const float* samples) {
    return samples;
}
inline float* native(float* samples) {
    return samples;
}
inline const double* native(const double* samples) {
    return samples;
}
inline double* native(double* samples) {
    return samples;
}
inline const MKL_Complex8* native(const std::complex<float>* samples) {
    return reinterpret_cast<const MKL_Complex8*>(samples);
}
inline MKL_Complex8* native(std::complex<float>* samples) {
    return reinterpret_cast<MKL_Complex8*>(samples);
}
inline const MKL_Complex16* native(const std::complex<double>* samples) {
    return reinterpret_cast<const MKL_Complex16*>(samples);
}
inline MKL_Complex16* native(std::complex<double>* samples) {
    return reinterpret_cast<MKL_Complex16*>(samples);
}

/// The library counts in 32 bits.
constexpr std::size_t longestCall = std::size_t{1} << 20;

template <class T, auto function>
void plainRow(const T* first, const T* second, T* out, std::size_t count) {
    const SingleThread singleThread;
    while (count > 0) {
        const std::size_t n = std::min(count, longestCall);
        function(static_cast<MKL_INT>(n), native(first), native(second), native(out), mode);
        first += n;
        second += n;
        out += n;
        count -= n;
    }
}

template <class Real>
bool isOrdinary(const std::complex<Real>& value) {
    return std::isfinite(value.real()) && std::isfinite(value.imag());
}

/// A row of products or quotients; pairs that the library treats in its own way are done again with `careful`. It
/// works on short pieces beside the output, which may be an operand.
template <class T, auto function, T (*careful)(T, T), bool zeroDivisors>
void patchedRow(const T* first, const T* second, T* out, std::size_t count) {
    constexpr std::size_t piece = 256;
    const SingleThread singleThread;
    T results[piece];
    for (std::size_t begin = 0; begin < count; begin += piece) {
        const std::size_t n = std::min(piece, count - begin);
        const T* const a = first + begin;
        const T* const b = second + begin;
        function(static_cast<MKL_INT>(n), native(a), native(b), native(results), mode);
        for (std::size_t i = 0; i < n; ++i) {
            const bool zero = zeroDivisors && b[i].real() == 0 && b[i].imag() == 0;
            if (zero || !isOrdinary(a[i]) || !isOrdinary(b[i])) {
                results[i] = careful(a[i], b[i]);
            }
        }
        std::copy_n(results, n, out + begin);
    }
}

template <class T, auto add, auto subtract, auto multiply>
VectorRow<T> realRow(VectorOperation operation) {
    switch (operation) {
        case VectorOperation::Add: return &plainRow<T, add>;
        case VectorOperation::Subtract: return &plainRow<T, subtract>;
        case VectorOperation::Multiply: return &plainRow<T, multiply>;
        case VectorOperation::Divide: break;
    }
    return nullptr;
}

template <class T, auto add, auto subtract, auto multiply, auto divide>
VectorRow<T> complexRow(VectorOperation operation) {
    switch (operation) {
        case VectorOperation::Add: return &plainRow<T, add>;
        case VectorOperation::Subtract: return &plainRow<T, subtract>;
        case VectorOperation::Multiply: return &patchedRow<T, multiply, &multiplyComplex, false>;
        case VectorOperation::Divide: return &patchedRow<T, divide, &divideComplex, true>;
    }
    return nullptr;
}

#else

template <VectorOperation operation, class T>
void eigenRow(const T* first, const T* second, T* out, std::size_t count) {
    using Row = Eigen::Array<T, Eigen::Dynamic, 1>;
    const auto n = static_cast<Eigen::Index>(count);
    const Eigen::Map<const Row> a(first, n);
    const Eigen::Map<const Row> b(second, n);
    Eigen::Map<Row> result(out, n);
    if constexpr (operation == VectorOperation::Add) {
        result = a + b;
    } else if constexpr (operation == VectorOperation::Subtract) {
        result = a - b;
    } else {
        result = a * b;
    }
}

/// Eigen's complex products lose digits where their terms cancel.
template <class T, bool accurateProducts>
VectorRow<T> eigenRowOf(VectorOperation operation) {
    switch (operation) {
        case VectorOperation::Add: return &eigenRow<VectorOperation::Add, T>;
        case VectorOperation::Subtract: return &eigenRow<VectorOperation::Subtract, T>;
        case VectorOperation::Multiply: return accurateProducts ? &eigenRow<VectorOperation::Multiply, T> : nullptr;
        case VectorOperation::Divide: break;
    }
    return nullptr;
}

#endif

}  // namespace

#ifdef RIX_HAVE_MKL

template <>
VectorRow<float> vectorRow<float>(VectorOperation operation) {
    return realRow<float, &vmsAdd, &vmsSub, &vmsMul>(operation);
}
template <>
VectorRow<double> vectorRow<double>(VectorOperation operation) {
    return realRow<double, &vmdAdd, &vmdSub, &vmdMul>(operation);
}
template <>
VectorRow<std::complex<float>> vectorRow<std::complex<float>>(VectorOperation operation) {
    return complexRow<std::complex<float>, &vmcAdd, &vmcSub, &vmcMul, &vmcDiv>(operation);
}
template <>
VectorRow<std::complex<double>> vectorRow<std::complex<double>>(VectorOperation operation) {
    return complexRow<std::complex<double>, &vmzAdd, &vmzSub, &vmzMul, &vmzDiv>(operation);
}

#else

template <>
VectorRow<float> vectorRow<float>(VectorOperation operation) {
    return eigenRowOf<float, true>(operation);
}
template <>
VectorRow<double> vectorRow<double>(VectorOperation operation) {
    return eigenRowOf<double, true>(operation);
}
template <>
VectorRow<std::complex<float>> vectorRow<std::complex<float>>(VectorOperation operation) {
    return eigenRowOf<std::complex<float>, false>(operation);
}
template <>
VectorRow<std::complex<double>> vectorRow<std::complex<double>>(VectorOperation operation) {
    return eigenRowOf<std::complex<double>, false>(operation);
}

#endif

}  // namespace rix::simd
