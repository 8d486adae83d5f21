#include "ColorKernels.h"

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ColorKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include "ColorSteps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::color::HWY_NAMESPACE {

/// `Step::of` for every pixel of a row. Nothing but plain arithmetic and selections, which the compiler vectorises.
template <class Step, class Real>
void stepRow(const Real* const* in, Real* const* out, std::size_t count) {
    const Real* const in0 = in[0];
    const Real* const in1 = in[1];
    const Real* const in2 = in[2];
    Real* const out0 = out[0];
    Real* const out1 = out[1];
    Real* const out2 = out[2];
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        const Triple<Real> result = Step::of(Triple<Real>{in0[i], in1[i], in2[i]});
        out0[i] = result.a;
        out1[i] = result.b;
        out2[i] = result.c;
    }
}

/// The same in double precision. Floats are widened in pieces: loops over one type are vectorised.
template <class Step, class Real>
void stepRowInDoubles(const Real* const* in, Real* const* out, std::size_t count) {
    if constexpr (sizeof(Real) == sizeof(double)) {
        stepRow<Step, Real>(in, out, count);
    } else {
        constexpr std::size_t part = 128;
        double values[mostChannels][part];
        double* const rows[] = {values[0], values[1], values[2]};
        for (std::size_t first = 0; first < count; first += part) {
            const std::size_t length = count - first < part ? count - first : part;
            for (std::size_t channel = 0; channel < mostChannels; ++channel) {
                for (std::size_t i = 0; i < length; ++i) {
                    values[channel][i] = static_cast<double>(in[channel][first + i]);
                }
            }
            stepRow<Step, double>(rows, rows, length);
            for (std::size_t channel = 0; channel < mostChannels; ++channel) {
                for (std::size_t i = 0; i < length; ++i) {
                    out[channel][first + i] = static_cast<Real>(values[channel][i]);
                }
            }
        }
    }
}

template <class Real>
void rgbToGray(const Real* const* in, Real* const* out, std::size_t count) {
    const Real* const red = in[0];
    const Real* const green = in[1];
    const Real* const blue = in[2];
    Real* const gray = out[0];
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        gray[i] = weightedSum(lumaWeights, Triple<Real>{red[i], green[i], blue[i]});
    }
}
template <class Real>
void grayToRgb(const Real* const* in, Real* const* out, std::size_t count) {
    const Real* const gray = in[0];
    Real* const red = out[0];
    Real* const green = out[1];
    Real* const blue = out[2];
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        red[i] = green[i] = blue[i] = gray[i];
    }
}

// Codes of integers
// ----------------------------------------------------------------------------------------------------

template <class Real>
void decode(const Real* in, Real* out, std::size_t count, const ChannelCode& code) {
    const auto factor = static_cast<Real>(code.factor);
    const auto offset = static_cast<Real>(code.offset);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = (in[i] - offset) / factor;
    }
}
template <class Real>
void encode(const Real* in, Real* out, std::size_t count, const ChannelCode& code) {
    const auto factor = static_cast<Real>(code.factor);
    const auto offset = static_cast<Real>(code.offset);
    const auto turn = static_cast<Real>(code.turn);
    const Real last = turn > Real(0) ? turn - Real(0.5) : static_cast<Real>(__builtin_inf());
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        const Real sample = in[i] * factor + offset;
        out[i] = sample >= last ? Real(0) : sample;
    }
}

template <class Real>
ColorStep<Real> towardsRgb(int space) {
    static constexpr ColorStep<Real> steps[] = {nullptr,
                                                &stepRow<LinearToRgb, Real>,
                                                &stepRow<HsvToRgb, Real>,
                                                &stepRow<HslToRgb, Real>,
                                                &stepRow<XyzToLinear, Real>,
                                                &stepRow<LabToXyz, Real>,
                                                &stepRowInDoubles<LchToLab, Real>,
                                                &stepRow<YcbcrToRgb, Real>,
                                                &stepRow<YiqToRgb, Real>,
                                                &grayToRgb<Real>};
    return steps[space];
}
template <class Real>
ColorStep<Real> fromRgb(int space) {
    static constexpr ColorStep<Real> steps[] = {nullptr,
                                                &stepRow<RgbToLinear, Real>,
                                                &stepRow<RgbToHsv, Real>,
                                                &stepRow<RgbToHsl, Real>,
                                                &stepRow<LinearToXyz, Real>,
                                                &stepRow<XyzToLab, Real>,
                                                &stepRowInDoubles<LabToLch, Real>,
                                                &stepRow<RgbToYcbcr, Real>,
                                                &stepRow<RgbToYiq, Real>,
                                                &rgbToGray<Real>};
    return steps[space];
}
template <class Real>
CodeRow<Real> decoding() {
    return &decode<Real>;
}
template <class Real>
CodeRow<Real> encoding() {
    return &encode<Real>;
}

}  // namespace rix::filtering::color::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::color {

template <class Real>
ColorStep<Real> stepTowardsRgb(ConvertColorSpace::ColorSpace space, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, towardsRgb<Real>(space));
}
template ColorStep<float> stepTowardsRgb(ConvertColorSpace::ColorSpace, OptimLevelType);
template ColorStep<double> stepTowardsRgb(ConvertColorSpace::ColorSpace, OptimLevelType);

template <class Real>
ColorStep<Real> stepFromRgb(ConvertColorSpace::ColorSpace space, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, fromRgb<Real>(space));
}
template ColorStep<float> stepFromRgb(ConvertColorSpace::ColorSpace, OptimLevelType);
template ColorStep<double> stepFromRgb(ConvertColorSpace::ColorSpace, OptimLevelType);

template <class Real>
CodeRow<Real> decodeRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, decoding<Real>());
}
template CodeRow<float> decodeRow(OptimLevelType);
template CodeRow<double> decodeRow(OptimLevelType);

template <class Real>
CodeRow<Real> encodeRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, encoding<Real>());
}
template CodeRow<float> encodeRow(OptimLevelType);
template CodeRow<double> encodeRow(OptimLevelType);

}  // namespace rix::filtering::color
#endif
