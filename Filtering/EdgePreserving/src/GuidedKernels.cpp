#include "GuidedKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "GuidedKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/simd/Loops.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

void multiply(const double* a, const double* b, double* out, std::size_t count) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] * b[i];
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
    return {&multiply, &fit, &apply};
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
