#include "GaussianRecursionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "GaussianRecursionKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Rows between two looks for states that are nearly 0. Left alone they would become subnormal, which many processors
/// compute a hundred times slower.
constexpr std::size_t rowsBetweenLooks = 16;

template <class T>
HWY_INLINE T nearlyZero() {
    return sizeof(T) == 4 ? static_cast<T>(0x1p-100) : static_cast<T>(0x1p-900);
}

/// Vectors side by side, whose chains of operations fill each other's waits; as many as the registers hold.
constexpr std::size_t vectorsAbreast = HWY_MAX_BYTES >= 64 ? 2 : 1;

/// The states of some vectors of lines.
template <class D, std::size_t vectors>
struct States {
    using T = hn::TFromD<D>;
    using V = hn::Vec<D>;
    V u[3][vectors];
    V v[3][vectors];
    V decay[3];
    V turn2[3];
    V weightU[3];
    V weightV[3];

    HWY_INLINE void take(D d, const T* x) {
        HWY_UNROLL(2)
        for (std::size_t k = 0; k < vectors; ++k) {
            const V value = hn::LoadU(d, x + k * hn::Lanes(d));
            HWY_UNROLL(3)
            for (std::size_t j = 0; j < 3; ++j) {
                const V turned = hn::Add(hn::Sub(hn::Mul(decay[j], u[j][k]), v[j][k]), value);
                v[j][k] = hn::Add(hn::Mul(turn2[j], u[j][k]), hn::Mul(decay[j], v[j][k]));
                u[j][k] = turned;
            }
        }
    }

    HWY_INLINE V sum(std::size_t k) const {
        V pairs[3];
        HWY_UNROLL(3)
        for (std::size_t j = 0; j < 3; ++j) {
            pairs[j] = hn::Add(hn::Mul(weightU[j], u[j][k]), hn::Mul(weightV[j], v[j][k]));
        }
        return hn::Add(hn::Add(pairs[0], pairs[1]), pairs[2]);
    }

    HWY_INLINE void settle(D d) {
        const V limit = hn::Set(d, nearlyZero<T>());
        HWY_UNROLL(3)
        for (std::size_t j = 0; j < 3; ++j) {
            HWY_UNROLL(2)
            for (std::size_t k = 0; k < vectors; ++k) {
                u[j][k] = hn::IfThenElseZero(hn::Ge(hn::Abs(u[j][k]), limit), u[j][k]);
                v[j][k] = hn::IfThenElseZero(hn::Ge(hn::Abs(v[j][k]), limit), v[j][k]);
            }
        }
    }
};

template <class D, std::size_t vectors, class Pair>
HWY_INLINE void start(D d, const Pair* pairs, bool upward, const hn::TFromD<D>* x, States<D, vectors>& states) {
    for (std::size_t j = 0; j < 3; ++j) {
        states.decay[j] = hn::Set(d, pairs[j].decay);
        states.turn2[j] = hn::Set(d, pairs[j].turn2);
        states.weightU[j] = hn::Set(d, upward ? pairs[j].upwardU : pairs[j].downwardU);
        states.weightV[j] = hn::Set(d, upward ? pairs[j].upwardV : pairs[j].downwardV);
        for (std::size_t k = 0; k < vectors; ++k) {
            const auto value = hn::LoadU(d, x + k * hn::Lanes(d));
            states.u[j][k] = hn::Mul(value, hn::Set(d, pairs[j].steadyU));
            states.v[j][k] = hn::Mul(value, hn::Set(d, pairs[j].steadyV));
        }
    }
}

/// Calls `use(i)` for i from 0 to count - 1, and settles the states now and then.
template <class D, std::size_t vectors, class Use>
HWY_INLINE void eachRow(D d, States<D, vectors>& states, std::size_t count, const Use& use) {
    for (std::size_t i = 0; i < count;) {
        const std::size_t end = HWY_MIN(count, i + rowsBetweenLooks);
        for (; i < end; ++i) {
            use(i);
        }
        states.settle(d);
    }
}

template <class T>
struct Pass {
    const T* rows;  ///< the first of them that counts, at a column
    std::ptrdiff_t stride;
    std::size_t count;
    std::size_t warmUp;
    T* sums;
    std::ptrdiff_t sumStride;
};

template <std::size_t vectors, class T>
HWY_INLINE void downwardAt(const Pass<T>& pass, const GaussianRecursion<T>& recursion) {
    const hn::ScalableTag<T> d;
    const auto last = static_cast<std::ptrdiff_t>(pass.count + pass.warmUp) - 1;
    const T* x = pass.rows + last * pass.stride;
    States<hn::ScalableTag<T>, vectors> states;
    start(d, recursion.data(), false, x, states);
    eachRow(d, states, pass.warmUp - 1, [&](std::size_t) HWY_ATTR {
        x -= pass.stride;
        states.take(d, x);
    });
    T* out = pass.sums + static_cast<std::ptrdiff_t>(pass.count - 1) * pass.sumStride;
    eachRow(d, states, pass.count, [&](std::size_t) HWY_ATTR {
        for (std::size_t k = 0; k < vectors; ++k) {
            hn::StoreU(states.sum(k), d, out + k * hn::Lanes(d));
        }
        x -= pass.stride;
        states.take(d, x);
        out -= pass.sumStride;
    });
}

template <std::size_t vectors, class T>
HWY_INLINE void upwardAt(const Pass<T>& pass, T* result, const GaussianRecursion<T>& recursion) {
    const hn::ScalableTag<T> d;
    const T* x = pass.rows - static_cast<std::ptrdiff_t>(pass.warmUp) * pass.stride;
    States<hn::ScalableTag<T>, vectors> states;
    start(d, recursion.data(), true, x, states);
    eachRow(d, states, pass.warmUp - 1, [&](std::size_t) HWY_ATTR {
        x += pass.stride;
        states.take(d, x);
    });
    const T* sums = pass.sums;
    eachRow(d, states, pass.count, [&](std::size_t) HWY_ATTR {
        x += pass.stride;
        states.take(d, x);
        for (std::size_t k = 0; k < vectors; ++k) {
            const std::size_t at = k * hn::Lanes(d);
            hn::StoreU(hn::Add(states.sum(k), hn::LoadU(d, sums + at)), d, result + at);
        }
        sums += pass.sumStride;
        result += pass.stride;
    });
}

/// Calls `at(column, vectors)` with as many vectors as there are abreast, and then with single ones.
template <class T, class Wide, class Single>
HWY_INLINE void eachColumn(std::size_t width, const Wide& wide, const Single& single) {
    const std::size_t lanes = hn::Lanes(hn::ScalableTag<T>());
    std::size_t column = 0;
    for (; column + vectorsAbreast * lanes <= width; column += vectorsAbreast * lanes) {
        wide(column);
    }
    for (; column + lanes <= width; column += lanes) {
        single(column);
    }
}

template <class T>
void downward(const LineRows<T>& rows, std::size_t count, std::size_t warmUp, const GaussianRecursion<T>& recursion,
              const LineRows<T>& sums) {
    const auto pass = [&](std::size_t column) {
        return Pass<T>{rows.first + column, static_cast<std::ptrdiff_t>(rows.stride), count, warmUp,
                       sums.first + column, static_cast<std::ptrdiff_t>(sums.stride)};
    };
    eachColumn<T>(
        rows.width, [&](std::size_t column) HWY_ATTR { downwardAt<vectorsAbreast>(pass(column), recursion); },
        [&](std::size_t column) HWY_ATTR { downwardAt<1>(pass(column), recursion); });
}

template <class T>
void upward(const LineRows<T>& rows, std::size_t count, std::size_t warmUp, const GaussianRecursion<T>& recursion,
            const LineRows<T>& sums) {
    T* const results = rows.first - static_cast<std::ptrdiff_t>(warmUp * rows.stride);
    const auto pass = [&](std::size_t column) {
        return Pass<T>{rows.first + column, static_cast<std::ptrdiff_t>(rows.stride), count, warmUp,
                       sums.first + column, static_cast<std::ptrdiff_t>(sums.stride)};
    };
    eachColumn<T>(
        rows.width,
        [&](std::size_t column) HWY_ATTR { upwardAt<vectorsAbreast>(pass(column), results + column, recursion); },
        [&](std::size_t column) HWY_ATTR { upwardAt<1>(pass(column), results + column, recursion); });
}

template <class T>
bool holdsWild(const T* row, std::size_t count, T limit) {
    const hn::ScalableTag<T> d;
    const auto most = hn::Set(d, limit);
    auto tame = hn::Lt(hn::Zero(d), most);
    for (std::size_t x = 0; x + hn::Lanes(d) <= count; x += hn::Lanes(d)) {
        tame = hn::And(tame, hn::Lt(hn::Abs(hn::LoadU(d, row + x)), most));
    }
    return !hn::AllTrue(d, tame);
}

template <class T>
GaussianRecursionKernels<T> kernels() {
    return {&downward<T>, &upward<T>, &holdsWild<T>};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

template <class T>
GaussianRecursionKernels<T> gaussianRecursionKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template GaussianRecursionKernels<float> gaussianRecursionKernels<float>(OptimLevelType);
template GaussianRecursionKernels<double> gaussianRecursionKernels<double>(OptimLevelType);

}  // namespace rix::filtering::smoothing
#endif
