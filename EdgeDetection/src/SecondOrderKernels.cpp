#include "SecondOrderKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "SecondOrderKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/simd/Trigonometry-inl.h>

#include "EigenSystems-inl.h"
#include "EigenValues-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

/// Voxels whose eigenvalues are computed together; a multiple of all vectors.
constexpr std::size_t piece = 64;

/// The eigenvalues of up to `piece` matrices from the column x on.
template <std::size_t axes, class T>
HWY_INLINE void eigenValuesAt(const T* const* components, std::size_t x, std::size_t count, double (*values)[piece]) {
    constexpr std::size_t entries = axes == 3 ? 6 : 3;
    const hn::CappedTag<double, 8> d;
    const hn::Rebind<T, decltype(d)> narrow;
    HWY_ALIGN T rest[entries][8] = {};
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        const bool isWhole = i + hn::Lanes(d) <= count;
        hn::Vec<decltype(d)> m[entries];
        for (std::size_t k = 0; k < entries; ++k) {
            const T* from = components[k] + x + i;
            if (!isWhole) {
                for (std::size_t j = 0; j < count - i; ++j) {
                    rest[k][j] = from[j];
                }
                from = rest[k];
            }
            if constexpr (sizeof(T) == sizeof(double)) {
                m[k] = hn::LoadU(narrow, from);
            } else {
                m[k] = hn::PromoteTo(d, hn::LoadU(narrow, from));
            }
        }
        hn::Vec<decltype(d)> results[axes];
        if constexpr (axes == 3) {
            eigenValues3(d, m, results);
        } else {
            eigenValues2(d, m, results);
        }
        for (std::size_t k = 0; k < axes; ++k) {
            hn::StoreU(results[k], d, values[k] + i);
        }
    }
}

HWY_INLINE double coherenceOf(double greatest, double next) {
    const double sum = greatest + next;
    const double ratio = (greatest - next) / sum;
    // Of the rounding of nothing there is no direction; NaN stays.
    return sum <= 0.0 ? 0.0 : ratio * ratio;
}

/// Writes the vectors of a voxel, and the angle of the last one.
template <std::size_t axes, class T>
HWY_INLINE void writeVectors(const T* const* components, const TensorRows<T>& rows, std::size_t x,
                             const double* values) {
    double m[6] = {};
    for (std::size_t i = 0; i < (axes == 3 ? 6 : 3); ++i) {
        m[i] = static_cast<double>(components[i][x]);
    }
    double vectors[3][3];
    if constexpr (axes == 3) {
        eigenVectors3(m, values, vectors);
    } else {
        eigenVectors2(m, values, vectors);
    }
    for (std::size_t i = 0; i < axes && rows.vectors[0] != nullptr; ++i) {
        for (std::size_t a = 0; a < axes; ++a) {
            rows.vectors[i * axes + a][x] = static_cast<T>(vectors[i][a]);
        }
    }
    if (rows.orientation != nullptr) {
        const double* const v = vectors[axes - 1];
        rows.orientation[x] = static_cast<T>(simd::HWY_NAMESPACE::arcTangent2Of(v[1], v[0]));
    }
}

template <std::size_t axes, class T>
void tensors(const T* const* components, const TensorRows<T>& rows, std::size_t count) {
    HWY_ALIGN double values[axes][piece];
    const bool areVectorsWanted = rows.vectors[0] != nullptr || rows.orientation != nullptr;
    for (std::size_t begin = 0; begin < count; begin += piece) {
        const std::size_t n = count - begin < piece ? count - begin : piece;
        eigenValuesAt<axes>(components, begin, n, values);
        for (std::size_t i = 0; i < axes; ++i) {
            if (T* const out = rows.values[i]; out != nullptr) {
                for (std::size_t x = 0; x < n; ++x) {
                    out[begin + x] = static_cast<T>(values[i][x]);
                }
            }
        }
        if (rows.coherence != nullptr) {
            for (std::size_t x = 0; x < n; ++x) {
                rows.coherence[begin + x] = static_cast<T>(coherenceOf(values[axes - 1][x], values[axes - 2][x]));
            }
        }
        for (std::size_t x = 0; x < n && areVectorsWanted; ++x) {
            double here[axes];
            for (std::size_t i = 0; i < axes; ++i) {
                here[i] = values[i][x];
            }
            writeVectors<axes>(components, rows, begin + x, here);
        }
    }
}

template <class T>
void products(const T* const* components, std::size_t axes, T* const* outs, std::size_t count) {
    std::size_t k = 0;
    for (std::size_t i = 0; i < axes; ++i) {
        for (std::size_t j = i; j < axes; ++j) {
            const T* const a = components[i];
            const T* const b = components[j];
            T* const out = outs[k++];
            for (std::size_t x = 0; x < count; ++x) {
                out[x] = a[x] * b[x];
            }
        }
    }
}

HWY_INLINE double bell(double x) {
    return simd::HWY_NAMESPACE::expOf(-0.5 * x * x, 0.0);
}

/// A. Frangi et al., "Multiscale vessel enhancement filtering", 1998. @param v eigenvalues that ascend by magnitude
template <std::size_t axes>
HWY_INLINE double frangi(const double* v, const RidgeMeasure& measure) {
    if (axes == 2) {
        const double structure = __builtin_sqrt(v[0] * v[0] + v[1] * v[1]);
        return v[1] < 0.0 ? bell(v[0] / v[1] / measure.beta) * (1.0 - bell(structure / measure.gamma)) : 0.0;
    }
    const double structure = __builtin_sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    const double plate = v[1] / v[2];
    const double blob = v[0] / __builtin_sqrt(v[1] * v[2]);
    return v[1] < 0.0 && v[2] < 0.0 ? (1.0 - bell(plate / measure.alpha)) * bell(blob / measure.beta) *
                                          (1.0 - bell(structure / measure.gamma))
                                    : 0.0;
}

/// Y. Sato et al., "Three-dimensional multi-scale line filter", 1998; in planes what falls off across a line.
template <std::size_t axes>
HWY_INLINE double sato(const double* v, const RidgeMeasure& measure) {
    const double low = v[0] < v[1] ? v[0] : v[1];
    const double high = v[0] < v[1] ? v[1] : v[0];
    if (axes == 2) {
        return low < 0.0 ? -low : 0.0;
    }
    const double greatest = v[2] > high ? v[2] : high;
    const double middle = v[2] > high ? high : (v[2] > low ? v[2] : low);
    const double across = -middle;
    const double along = greatest / across / (measure.alpha * (greatest > 0.0 ? 4.0 : 1.0));
    return across > 0.0 ? across * bell(along) : 0.0;
}

template <std::size_t axes, class T>
void ridges(const T* const* components, const RidgeMeasure& measure, const T* before, T* out, std::size_t count) {
    HWY_ALIGN double values[axes][piece];
    for (std::size_t x = 0; x < count; ++x) {
        if (x % piece == 0) {
            eigenValuesAt<axes>(components, x, count - x < piece ? count - x : piece, values);
        }
        double v[3];
        bool isNumber = true;
        for (std::size_t i = 0; i < axes; ++i) {
            v[i] = measure.sign * measure.square * values[i][x % piece];
            isNumber = isNumber && v[i] == v[i];
        }
        const double value = measure.method == RidgeMethod::Frangi ? frangi<axes>(v, measure) : sato<axes>(v, measure);
        const T known = static_cast<T>(isNumber ? value : v[0] + v[1]);
        const T old = before != nullptr ? before[x] : known;
        out[x] = old > known || old != old ? old : known;
    }
}

template <class T>
SecondOrderKernels<T> kernels() {
    return {&tensors<2, T>, &tensors<3, T>, &products<T>, &ridges<2, T>, &ridges<3, T>};
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::edge_detection {

template <class T>
SecondOrderKernels<T> secondOrderKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template SecondOrderKernels<float> secondOrderKernels<float>(OptimLevelType);
template SecondOrderKernels<double> secondOrderKernels<double>(OptimLevelType);

}  // namespace rix::edge_detection
#endif
