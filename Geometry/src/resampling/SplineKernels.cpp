#include "resampling/SplineKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resampling/SplineKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::geometry::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Vectors side by side, whose chains of operations fill each other's waits.
constexpr std::size_t vectorsAbreast = 4;

/// Elements between two looks for states that are nearly 0. Left alone they would become subnormal, which many
/// processors compute a hundred times slower.
constexpr std::size_t elementsBetweenLooks = 8;

template <class T>
HWY_INLINE T nearlyZero() {
    return sizeof(T) == 4 ? static_cast<T>(0x1p-80) : static_cast<T>(0x1p-900);
}

/// What lies before the first element, reflected: sum over i from 1 on of pole^i x(-i), as weights of the first
/// elements. The reflected line has the period 2 n, so that one of them and a quotient give all; of long lines only
/// elements whose weights are below the last bit are left out.
template <class T>
struct Start {
    static constexpr std::size_t most = sizeof(T) == 4 ? 32 : 64;
    T weights[most];
    std::size_t count;

    explicit Start(const PoleJob<T>& job) : count(HWY_MIN(job.length, most)) {
        double sums[most];
        double power = 1.0;
        for (std::size_t i = 0; i < count; ++i) {
            power *= static_cast<double>(job.pole);
            sums[i] = power;  // x(-1 - i) is x(i)
        }
        if (job.length <= most) {
            const double period = power * power;
            for (std::size_t i = count; i-- > 0;) {
                power *= static_cast<double>(job.pole);
                sums[i] = (sums[i] + power) / (1.0 - period);  // x(-2 n + i) is x(i), too
            }
        }
        for (std::size_t i = 0; i < count; ++i) {
            weights[i] = static_cast<T>(sums[i]);
        }
    }
};

template <class D>
HWY_INLINE hn::Vec<D> settled(D d, hn::Vec<D> state) {
    return hn::IfThenZeroElse(hn::Lt(hn::Abs(state), hn::Set(d, nearlyZero<hn::TFromD<D>>())), state);
}

template <std::size_t vectors, class T>
HWY_INLINE void filterAt(const PoleJob<T>& job, const Start<T>& start, T* column) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<hn::ScalableTag<T>> state[vectors];
    const auto pole = hn::Set(d, job.pole);
    const auto gain = hn::Set(d, job.gain);
    const T* x = column;
    for (std::size_t v = 0; v < vectors; ++v) {
        state[v] = hn::Zero(d);
    }
    for (std::size_t i = 0; i < start.count; ++i, x += job.stride) {
        const auto weight = hn::Set(d, start.weights[i]);
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            state[v] = hn::Add(state[v], hn::Mul(weight, hn::LoadU(d, x + v * lanes)));
        }
    }
    T* y = column;
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        state[v] = hn::Mul(gain, hn::Add(hn::LoadU(d, y + v * lanes), state[v]));
        hn::StoreU(state[v], d, y + v * lanes);
    }
    for (std::size_t i = 1; i < job.length; ++i) {
        y += job.stride;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            const auto value = hn::Mul(gain, hn::LoadU(d, y + v * lanes));
            state[v] = hn::Add(value, hn::Mul(pole, state[v]));
            hn::StoreU(state[v], d, y + v * lanes);
            state[v] = i % elementsBetweenLooks == 0 ? settled(d, state[v]) : state[v];
        }
    }
    // Reflected, the last coefficient comes twice: c = pole (c - y).
    const auto last = hn::Set(d, job.pole / (job.pole - T(1)));
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        state[v] = hn::Mul(last, state[v]);
        hn::StoreU(state[v], d, y + v * lanes);
    }
    for (std::size_t i = 1; i < job.length; ++i) {
        y -= job.stride;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            state[v] = hn::Mul(pole, hn::Sub(state[v], hn::LoadU(d, y + v * lanes)));
            hn::StoreU(state[v], d, y + v * lanes);
            state[v] = i % elementsBetweenLooks == 0 ? settled(d, state[v]) : state[v];
        }
    }
}

template <class T>
void filter(const PoleJob<T>& job) {
    const std::size_t lanes = hn::Lanes(hn::ScalableTag<T>());
    const Start<T> start(job);
    std::size_t x = 0;
    for (; x + vectorsAbreast * lanes <= job.width; x += vectorsAbreast * lanes) {
        filterAt<vectorsAbreast>(job, start, job.first + x);
    }
    for (; x + vectorsAbreast / 2 * lanes <= job.width; x += vectorsAbreast / 2 * lanes) {
        filterAt<vectorsAbreast / 2>(job, start, job.first + x);
    }
    for (; x < job.width; x += lanes) {
        filterAt<1>(job, start, job.first + x);
    }
}

template <class T>
SplineKernels<T> kernels() {
    return {&filter<T>};
}

}  // namespace rix::geometry::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::geometry {

template <class T>
SplineKernels<T> splineKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template SplineKernels<float> splineKernels<float>(OptimLevelType);
template SplineKernels<double> splineKernels<double>(OptimLevelType);

}  // namespace rix::geometry
#endif
