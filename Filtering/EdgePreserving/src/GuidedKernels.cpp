#include "GuidedKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "GuidedKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/simd/Loops.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// out = a + b, in vectors: the sum may stand before one of the operands in the same array, which compilers would take
/// one by one.
void sum(const double* a, const double* b, double* out, std::size_t count) {
    const hn::ScalableTag<double> d;
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
        hn::StoreU(hn::Add(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, out + i);
    }
    for (; i < count; ++i) {
        out[i] = a[i] + b[i];
    }
}

void add(double* a, const double* b, std::size_t count) {
    sum(a, b, a, count);
}

void multiply(const double* a, const double* b, double* out, std::size_t count) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] * b[i];
    }
}

void sumAlong(const double* values, std::size_t window, double* scratch, double* out, std::size_t count) {
    const std::size_t all = count + window - 1;
    const double* powers = values;  // sums of `power` values
    const double* done = values;    // of as many as `length`
    std::size_t length = 1;
    for (std::size_t power = 2; power <= window; power *= 2) {
        sum(powers, powers + power / 2, scratch, all - power + 1);
        powers = scratch;
        if ((window & power) != 0) {
            sum(done, powers + length, out, count);
            done = out;
            length += power;
        }
    }
    if (window == 1) {
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = values[i];
        }
    }
}

void advance(const double* values, double* running, double* kept, const double* suffix, double* sums,
             std::size_t count) {
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

void fit(const double* guide, const double* in, const double* square, const double* product, double* a, double* b,
         std::size_t count, double share, double noise) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        const double meanGuide = guide[i] * share;
        const double mean = in[i] * share;
        const double difference = square[i] * share - meanGuide * meanGuide;
        const double variance = difference < 0.0 ? 0.0 : difference;  // NaN stays
        const double slope = (product[i] * share - meanGuide * mean) / (variance + noise);
        a[i] = slope;
        b[i] = mean - slope * meanGuide;
    }
}

void apply(const double* a, const double* b, const double* guide, double* out, std::size_t count, double share) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = (a[i] * guide[i] + b[i]) * share;
    }
}

GuidedKernels kernels() {
    return {&multiply, &sumAlong, &add, &advance, &fit, &apply};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

GuidedKernels guidedKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels());
}

}  // namespace rix::filtering::smoothing
#endif
