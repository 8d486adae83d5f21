#include "SumKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "SumKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/simd/Loops.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// out = (done or nothing) + the sum of `parts`, 1, 2 or 4, of `values`, `step` apart: two by two. In vectors, as the
/// sums may stand before what they are made of in the same array, which compilers would take one by one.
template <std::size_t parts, class T>
HWY_INLINE void sumParts(const T* done, const T* values, std::size_t step, T* out, std::size_t count) {
    const auto sumAt = [&](auto d, std::size_t i) HWY_ATTR {
        auto sum = hn::LoadU(d, values + i);
        if constexpr (parts > 1) {
            sum = hn::Add(sum, hn::LoadU(d, values + i + step));
        }
        if constexpr (parts == 4) {
            sum = hn::Add(sum, hn::Add(hn::LoadU(d, values + i + 2 * step), hn::LoadU(d, values + i + 3 * step)));
        }
        return done != nullptr ? hn::Add(hn::LoadU(d, done + i), sum) : sum;
    };
    const hn::ScalableTag<T> d;
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
        hn::StoreU(sumAt(d, i), d, out + i);
    }
    const hn::CappedTag<T, 1> one;
    for (; i < count; ++i) {
        hn::StoreU(sumAt(one, i), one, out + i);
    }
}

template <class T>
void sumAlong(const T* values, std::size_t window, T* scratch, T* out, std::size_t count) {
    const T* powers = values;  // sums of `power` values
    const T* done = values;    // of as many as `length`, where `out` has them
    std::size_t length = 1;
    std::size_t left = count + window - 1;  // sums of `power` values
    std::size_t power = 1;
    if (window == 1) {
        sumParts<1, T>(nullptr, values, 0, out, count);
    }
    while (power < window) {
        if (power > 1 && (window & power) != 0) {
            sumParts<1>(done, powers + length, power, out, count);
            done = out;
            length += power;
        }
        if ((window & (2 * power)) != 0) {
            sumParts<2>(done, powers + length, power, out, count);
            done = out;
            length += 2 * power;
        }
        if (length == window) {
            return;
        }
        if (window < 8 * power) {  // the last of its powers of two
            sumParts<4>(done, powers + length, power, out, count);
            return;
        }
        left -= 3 * power;
        sumParts<4, T>(nullptr, powers, power, scratch, left);
        powers = scratch;
        power *= 4;
    }
}

template <class T>
void add(T* a, const T* b, std::size_t count) {
    sumParts<1>(a, b, 0, a, count);
}

template <class T>
void advance(const T* values, T* running, T* kept, const T* suffix, T* sums, std::size_t count) {
    if (sums == nullptr) {
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = 0; i < count; ++i) {
            kept[i] = values[i];
            running[i] += values[i];
        }
    } else if (suffix == nullptr) {
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = 0; i < count; ++i) {
            kept[i] = values[i];
            running[i] += values[i];
            sums[i] = running[i];
        }
    } else {
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = 0; i < count; ++i) {
            kept[i] = values[i];
            running[i] += values[i];
            sums[i] = running[i] + suffix[i];
        }
    }
}

template <class T>
SumKernels<T> sums() {
    return {&sumAlong<T>, &add<T>, &advance<T>};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

template <class T>
SumKernels<T> sumKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, sums<T>());
}

template SumKernels<float> sumKernels<float>(OptimLevelType);
template SumKernels<double> sumKernels<double>(OptimLevelType);

}  // namespace rix::filtering::smoothing
#endif
