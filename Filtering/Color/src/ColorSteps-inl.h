// The steps between colour spaces, a pixel at a time. Included once a pass by files of kernels.

#if defined(RIX_COLOR_STEPS) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_COLOR_STEPS
#undef RIX_COLOR_STEPS
#else
#define RIX_COLOR_STEPS
#endif

#include <rix/simd/AngleReduction.h>
#include <rix/simd/DoubleMath-inl.h>
#include <rix/simd/Trigonometry-inl.h>

#include "ColorMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::color::HWY_NAMESPACE {

namespace doubles = simd::HWY_NAMESPACE;

/// Channels of a pixel, or what they become.
template <class Real>
struct Triple {
    Real a;
    Real b;
    Real c;
};

template <class Real>
HWY_INLINE Real weightedSum(const double (&weights)[3], const Triple<Real>& t) {
    return static_cast<Real>(weights[0]) * t.a + static_cast<Real>(weights[1]) * t.b +
           static_cast<Real>(weights[2]) * t.c;
}
template <class Real>
HWY_INLINE Triple<Real> product(const double (&matrix)[3][3], const Triple<Real>& t) {
    return {weightedSum(matrix[0], t), weightedSum(matrix[1], t), weightedSum(matrix[2], t)};
}

// RGB and its linear form, XYZ
// -----------------------------------------------------------------------------------------

struct RgbToLinear {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        return {lightOf(t.a), lightOf(t.b), lightOf(t.c)};
    }
};
struct LinearToRgb {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        return {signalOf(t.a), signalOf(t.b), signalOf(t.c)};
    }
};

// From the chromaticities of sRGB's primaries and the white below, computed as fractions.
struct LinearToXyz {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        constexpr double matrix[3][3] = {{0.4124564390896921, 0.357576077643909, 0.18043748326639894},
                                         {0.21267285140562248, 0.715152155287818, 0.07217499330655958},
                                         {0.019333895582329317, 0.119192025881303, 0.9503040785363677}};
        return product(matrix, t);
    }
};
struct XyzToLinear {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        constexpr double matrix[3][3] = {{3.2404541621141054, -1.5371385127977166, -0.4985314095560162},
                                         {-0.9692660305051868, 1.8760108454466942, 0.04155601753034984},
                                         {0.05564343095911469, -0.20402591351675387, 1.0572251882231791}};
        return product(matrix, t);
    }
};

// CIE 1976
// -------------------------------------------------------------------------------------------------------------

constexpr double whiteX = 0.95047;
constexpr double whiteZ = 1.08883;

struct XyzToLab {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        const Real x = lightnessCurve(t.a * static_cast<Real>(1.0 / whiteX));
        const Real y = lightnessCurve(t.b);
        const Real z = lightnessCurve(t.c * static_cast<Real>(1.0 / whiteZ));
        return {Real(116) * y - Real(16), Real(500) * (x - y), Real(200) * (y - z)};
    }
};
struct LabToXyz {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        const Real y = (t.a + Real(16)) * static_cast<Real>(1.0 / 116.0);
        const Real x = y + t.b * static_cast<Real>(1.0 / 500.0);
        const Real z = y - t.c * static_cast<Real>(1.0 / 200.0);
        return {lightnessInverse(x) * static_cast<Real>(whiteX), lightnessInverse(y),
                lightnessInverse(z) * static_cast<Real>(whiteZ)};
    }
};

constexpr double radian = 57.295779513082320877;

struct LabToLch {
    HWY_INLINE static Triple<double> of(const Triple<double>& t) {
        const double angle = doubles::arcTangent2Of(t.c, t.b) * radian;
        const double hue = angle < 0.0 ? angle + 360.0 : angle;
        const double chroma = __builtin_sqrt(t.b * t.b + t.c * t.c);
        constexpr double turn = 360.0 - 0x1p-16;  // what single precision rounds to a whole turn
        return {t.a, chroma, chroma == 0.0 || hue >= turn ? 0.0 : hue};
    }
};
struct LchToLab {
    HWY_INLINE static Triple<double> of(const Triple<double>& t) {
        const simd::ReducedAngle angle = doubles::reduceAngle(withinTurn(t.c, 360.0) / radian);
        return {t.a, t.b * doubles::cosineOf(angle), t.b * doubles::sineOf(angle)};
    }
};

// Hue
// ------------------------------------------------------------------------------------------------------------------

template <class Real>
struct Extremes {
    Real highest;
    Real lowest;
};
template <class Real>
HWY_INLINE Extremes<Real> extremesOf(const Triple<Real>& t) {
    const Real high = t.a > t.b ? t.a : t.b;
    const Real low = t.a > t.b ? t.b : t.a;
    return {high > t.c ? high : t.c, low > t.c ? t.c : low};
}

/// The hue of a colour, whose highest and lowest channel are given: 0 for greys.
template <class Real>
HWY_INLINE Real hueOf(const Triple<Real>& t, const Extremes<Real>& extremes) {
    const Real range = extremes.highest - extremes.lowest;
    const bool isRed = t.a == extremes.highest;
    const bool isGreen = t.b == extremes.highest;
    const Real difference = isRed ? t.b - t.c : isGreen ? t.c - t.a : t.a - t.b;
    const Real sixths = isRed ? Real(0) : isGreen ? Real(120) : Real(240);
    const Real hue = sixths + Real(60) * (difference / range);
    const Real turned = hue < Real(0) ? hue + Real(360) : hue;
    return range == Real(0) || turned >= Real(360) ? Real(0) : turned;
}

struct RgbToHsv {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        const Extremes<Real> extremes = extremesOf(t);
        const Real ratio = (extremes.highest - extremes.lowest) / extremes.highest;
        return {hueOf(t, extremes), extremes.highest == Real(0) ? Real(0) : ratio, extremes.highest};
    }
};
struct RgbToHsl {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        const Extremes<Real> extremes = extremesOf(t);
        const Real range = extremes.highest - extremes.lowest;
        const Real sum = extremes.highest + extremes.lowest;
        const Real ratio = range / (sum > Real(1) ? Real(2) - sum : sum);
        return {hueOf(t, extremes), range == Real(0) ? Real(0) : ratio, sum * Real(0.5)};
    }
};

// A. R. Smith, Color gamut transform pairs, 1978, without cases: each channel is a trapezoid of the hue.
struct HsvToRgb {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        const Real sixths = withinTurn(t.a, Real(360)) * static_cast<Real>(1.0 / 60.0);
        const Real depth = t.c * t.b;
        const auto channel = [&](Real shift) {
            const Real shifted = sixths + shift;
            const Real k = shifted >= Real(6) ? shifted - Real(6) : shifted;
            return t.c - depth * clamped(smaller(k, Real(4) - k), Real(0), Real(1));
        };
        return {channel(Real(5)), channel(Real(3)), channel(Real(1))};
    }
};
struct HslToRgb {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        const Real twelfths = withinTurn(t.a, Real(360)) * static_cast<Real>(1.0 / 30.0);
        const Real depth = t.b * smaller(t.c, Real(1) - t.c);
        const auto channel = [&](Real shift) {
            const Real shifted = twelfths + shift;
            const Real k = shifted >= Real(12) ? shifted - Real(12) : shifted;
            return t.c - depth * clamped(smaller(k - Real(3), Real(9) - k), Real(-1), Real(1));
        };
        return {channel(Real(0)), channel(Real(8)), channel(Real(4))};
    }
};

// Luma and differences
// -------------------------------------------------------------------------------------------------

constexpr double lumaWeights[3] = {0.299, 0.587, 0.114};

struct RgbToYcbcr {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        const Real luma = weightedSum(lumaWeights, t);
        return {luma, (t.c - luma) * static_cast<Real>(1.0 / 1.772), (t.a - luma) * static_cast<Real>(1.0 / 1.402)};
    }
};
struct YcbcrToRgb {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        constexpr double green[2] = {0.114 * 1.772 / 0.587, 0.299 * 1.402 / 0.587};
        return {t.a + static_cast<Real>(1.402) * t.c,
                t.a - static_cast<Real>(green[0]) * t.b - static_cast<Real>(green[1]) * t.c,
                t.a + static_cast<Real>(1.772) * t.b};
    }
};

// 0.492111 (B - Y) and 0.877283 (R - Y), turned by 33 degrees.
struct RgbToYiq {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        constexpr double matrix[3][3] = {{0.299, 0.587, 0.114},
                                         {0.5959005889209884, -0.27455667158706965, -0.3213439173339187},
                                         {0.2115366146083217, -0.5227361665309426, 0.31119955192262083}};
        return product(matrix, t);
    }
};
struct YiqToRgb {
    template <class Real>
    HWY_INLINE static Triple<Real> of(const Triple<Real>& t) {
        constexpr double matrix[3][3] = {{1.0, 0.9559863441391478, 0.6208247908770911},
                                         {1.0, -0.2720128315834158, -0.6472042379938467},
                                         {1.0, -1.1067402171766676, 1.704230484474893}};
        return product(matrix, t);
    }
};

}  // namespace rix::filtering::color::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
