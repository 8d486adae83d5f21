#include "LocalThresholdKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "LocalThresholdKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>
#include <rix/simd/DoubleMath-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

// Plain loops, which the compiler turns into vectors of the pass.

template <class M>
void plainRow(const M* values, const M* /*none*/, double* thresholds, std::size_t count,
              const ThresholdNumbers& numbers) {
    const double offset = numbers.offset;
    for (std::size_t x = 0; x < count; ++x) {
        thresholds[x] = static_cast<double>(values[x]) - offset;
    }
}

template <class M>
void niblackRow(const M* means, const M* deviations, double* thresholds, std::size_t count,
                const ThresholdNumbers& numbers) {
    const double weight = numbers.weight;
    const double offset = numbers.offset;
    for (std::size_t x = 0; x < count; ++x) {
        thresholds[x] = static_cast<double>(means[x]) - weight * static_cast<double>(deviations[x]) - offset;
    }
}

template <class M>
void sauvolaRow(const M* means, const M* deviations, double* thresholds, std::size_t count,
                const ThresholdNumbers& numbers) {
    const double weight = numbers.weight;
    const double offset = numbers.offset;
    const double scale = 2.0 / (numbers.highest - numbers.lowest);
    for (std::size_t x = 0; x < count; ++x) {
        const double factor = 1.0 + weight * (static_cast<double>(deviations[x]) * scale - 1.0);
        thresholds[x] = static_cast<double>(means[x]) * factor - offset;
    }
}

template <class M>
void phansalkarRow(const M* means, const M* deviations, double* thresholds, std::size_t count,
                   const ThresholdNumbers& numbers) {
    const double weight = numbers.weight;
    const double offset = numbers.offset;
    const double lowest = numbers.lowest;
    const double range = numbers.highest - numbers.lowest;
    const double scale = 1.0 / range;
    for (std::size_t x = 0; x < count; ++x) {
        const double mean = (static_cast<double>(means[x]) - lowest) * scale;
        const double deviation = static_cast<double>(deviations[x]) * scale;
        const double dark = 2.0 * simd::HWY_NAMESPACE::expOf(-10.0 * mean, 0.0);
        const double threshold = mean * (1.0 + dark + weight * (deviation * 2.0 - 1.0));
        thresholds[x] = lowest + threshold * range - offset;
    }
}

template <class M>
void bernsenRow(const M* largest, const M* smallest, double* thresholds, std::size_t count,
                const ThresholdNumbers& numbers) {
    constexpr double infinity = __builtin_inf();
    const double offset = numbers.offset;
    const double contrast = numbers.contrast;
    const double middle = numbers.lowest * 0.5 + numbers.highest * 0.5;
    for (std::size_t x = 0; x < count; ++x) {
        const auto high = static_cast<double>(largest[x]);
        const auto low = static_cast<double>(smallest[x]);
        const double half = low * 0.5 + high * 0.5;
        const double flat = half > middle ? -infinity : infinity;
        thresholds[x] = high - low < contrast ? flat : half - offset;
    }
}

template <class T>
void comparisonRow(const T* in, const double* thresholds, std::uint8_t* out, std::size_t count, std::uint8_t side) {
    const auto other = static_cast<std::uint8_t>(1 - side);
    for (std::size_t x = 0; x < count; ++x) {
        out[x] = static_cast<double>(in[x]) > thresholds[x] ? side : other;
    }
}

using Method = LocalThresholdingMethod;

/// In doubles.
template <Method method, class T, class M>
void compareExactly(const T* in, const M* first, const M* second, std::uint8_t* out, std::size_t count,
                    const ThresholdNumbers& numbers, std::uint8_t side) {
    constexpr std::size_t piece = 512;
    double thresholds[piece];
    for (std::size_t begin = 0; begin < count; begin += piece) {
        const std::size_t some = begin + piece < count ? piece : count - begin;
        const M* const a = first + begin;
        const M* const b = second + begin;
        if constexpr (method == Method::NIBLACK) {
            niblackRow(a, b, thresholds, some, numbers);
        } else if constexpr (method == Method::SAUVOLA) {
            sauvolaRow(a, b, thresholds, some, numbers);
        } else if constexpr (method == Method::PHANSALKAR) {
            phansalkarRow(a, b, thresholds, some, numbers);
        } else if constexpr (method == Method::BERNSEN) {
            bernsenRow(a, b, thresholds, some, numbers);
        } else {
            plainRow(a, b, thresholds, some, numbers);
        }
        comparisonRow(in + begin, thresholds, out + begin, some, side);
    }
}

/// What floats cannot tell apart.
template <class T>
constexpr bool fitsFloats = sizeof(T) <= 2 || static_cast<T>(0.5F) != T{0};

#if HWY_TARGET == HWY_SCALAR

template <Method method, class T, class M>
void compareRow(const T* in, const M* first, const M* second, std::uint8_t* out, std::size_t count,
                const ThresholdNumbers& numbers, std::uint8_t side) {
    compareExactly<method>(in, first, second, out, count, numbers, side);
}

#else

namespace hn = hwy::HWY_NAMESPACE;
using Floats = hn::ScalableTag<float>;
using FloatVector = hn::Vec<Floats>;

HWY_INLINE FloatVector floatsAt(const float* values) {
    return hn::LoadU(Floats(), values);
}
template <class T>
HWY_INLINE FloatVector floatsAt(const T* values) {
    const hn::Rebind<std::int32_t, Floats> whole;
    if constexpr (sizeof(T) == 4) {
        return hn::ConvertTo(Floats(), hn::LoadU(whole, values));
    } else {
        return hn::ConvertTo(Floats(), hn::PromoteTo(whole, hn::LoadU(hn::Rebind<T, Floats>(), values)));
    }
}

/// To some units in the last place, between the powers of -80 and 80.
HWY_INLINE FloatVector roughExp(FloatVector x) {
    const Floats d;
    const hn::Rebind<std::int32_t, Floats> whole;
    const auto twos = hn::Round(hn::Mul(x, hn::Set(d, 1.44269504F)));
    // The logarithm of 2 in two parts, of which the first has few bits.
    const auto rest =
        hn::NegMulAdd(twos, hn::Set(d, -2.12194440e-4F), hn::NegMulAdd(twos, hn::Set(d, 0.693359375F), x));
    auto sum = hn::Set(d, 1.0F / 720.0F);
    for (const float factor : {1.0F / 120.0F, 1.0F / 24.0F, 1.0F / 6.0F, 0.5F, 1.0F, 1.0F}) {
        sum = hn::MulAdd(sum, rest, hn::Set(d, factor));
    }
    const auto power = hn::ShiftLeft<23>(hn::Add(hn::ConvertTo(whole, twos), hn::Set(whole, 127)));
    return hn::Mul(sum, hn::BitCast(d, power));
}

/// Thresholds in floats, and more than they may be wrong by.
struct RoughThreshold {
    FloatVector threshold;
    FloatVector error;
};

/// The numbers of a method in all lanes.
class RoughNumbers {
public:
    explicit HWY_INLINE RoughNumbers(const ThresholdNumbers& numbers)
        : m_weight(set(numbers.weight)),
          m_offset(set(numbers.offset)),
          m_lowest(set(numbers.lowest)),
          m_range(set(numbers.highest - numbers.lowest)),
          m_scale(set(1.0 / (numbers.highest - numbers.lowest))),
          m_bounds(set(numbers.lowest + numbers.highest)) {}

    /// Errors are of some units in the last place of what is added up; of exponentials of that and their powers.
    template <Method method>
    HWY_INLINE RoughThreshold operator()(FloatVector a, FloatVector b) const {
        const Floats d;
        const auto one = hn::Set(d, 1.0F);
        const auto two = hn::Set(d, 2.0F);
        const auto besides = hn::Abs(m_offset);
        if constexpr (method == Method::NIBLACK) {
            const auto weighted = hn::Mul(m_weight, b);
            return {hn::Sub(hn::Sub(a, weighted), m_offset), hn::Add(hn::Add(hn::Abs(a), hn::Abs(weighted)), besides)};
        } else if constexpr (method == Method::SAUVOLA) {
            const auto relative = hn::Mul(hn::Mul(b, m_scale), two);
            const auto factor = hn::MulAdd(m_weight, hn::Sub(relative, one), one);
            const auto size = hn::MulAdd(hn::Abs(m_weight), hn::Add(relative, one), one);
            return {hn::Sub(hn::Mul(a, factor), m_offset), hn::MulAdd(hn::Abs(a), size, besides)};
        } else if constexpr (method == Method::PHANSALKAR) {
            const auto mean = hn::Mul(hn::Sub(a, m_lowest), m_scale);
            const auto power = hn::Mul(hn::Set(d, -10.0F), mean);
            const auto most = hn::Set(d, 80.0F);
            const auto dark = hn::Mul(two, roughExp(hn::Max(hn::Min(power, most), hn::Neg(most))));
            const auto relative = hn::Mul(hn::Mul(b, m_scale), two);
            const auto factor = hn::Add(hn::Add(one, dark), hn::Mul(m_weight, hn::Sub(relative, one)));
            const auto meanSize = hn::Mul(hn::Add(hn::Abs(a), hn::Abs(m_lowest)), m_scale);
            const auto darkSize = hn::MulAdd(hn::Mul(dark, hn::Set(d, 10.0F)), meanSize, dark);
            const auto size = hn::Add(hn::Add(one, darkSize), hn::Mul(hn::Abs(m_weight), hn::Add(relative, one)));
            const auto error = hn::Add(hn::MulAdd(hn::Mul(meanSize, size), m_range, hn::Abs(m_lowest)), besides);
            const auto isUnknown = hn::Ge(hn::Abs(power), most);
            return {hn::Sub(hn::MulAdd(hn::Mul(mean, factor), m_range, m_lowest), m_offset),
                    hn::IfThenElse(isUnknown, hn::Set(d, __builtin_inff()), error)};
        } else if constexpr (method == Method::BERNSEN) {
            const auto half = hn::Mul(hn::Add(a, b), hn::Set(d, 0.5F));
            return {hn::Sub(half, m_offset), hn::Add(hn::Abs(half), besides)};
        } else {
            return {hn::Sub(a, m_offset), hn::Add(hn::Abs(a), besides)};
        }
    }

    /// Whether windows lie above the middle of the range, of integers.
    HWY_INLINE hn::Mask<Floats> areBright(FloatVector high, FloatVector low) const {
        return hn::Gt(hn::Add(high, low), m_bounds);
    }

private:
    static HWY_INLINE FloatVector set(double number) { return hn::Set(Floats(), static_cast<float>(number)); }

    FloatVector m_weight;
    FloatVector m_offset;
    FloatVector m_lowest;
    FloatVector m_range;
    FloatVector m_scale;
    FloatVector m_bounds;
};

/// Most voxels are far enough from their threshold for floats to decide; the others are compared in doubles.
template <Method method, class T, class M>
void compareRow(const T* in, const M* first, const M* second, std::uint8_t* out, std::size_t count,
                const ThresholdNumbers& numbers, std::uint8_t side) {
    constexpr bool isBernsen = method == Method::BERNSEN;
    const auto contrast = static_cast<float>(numbers.contrast);
    if constexpr (sizeof(T) == 8 || sizeof(M) == 8 || (sizeof(T) == 4 && !fitsFloats<T> && T(-1) > T(0)) ||
                  (sizeof(M) == 4 && !fitsFloats<M>) || (isBernsen && sizeof(T) > 2)) {
        compareExactly<method>(in, first, second, out, count, numbers, side);
    } else if (isBernsen && static_cast<double>(contrast) != numbers.contrast) {
        compareExactly<method>(in, first, second, out, count, numbers, side);
    } else {
        const Floats d;
        const std::size_t lanes = hn::Lanes(d);
        const hn::Rebind<std::int32_t, Floats> whole;
        const hn::Rebind<std::uint8_t, Floats> bytes;
        const RoughNumbers rough(numbers);
        // Sums of two integers of 16 bits are exact, and of reals nothing is rounded.
        constexpr bool isPlain = method == Method::MEAN || isBernsen;
        const bool isExact = isPlain && fitsFloats<T> && numbers.offset == 0.0;
        const auto unit = hn::Set(d, 0x1p-18F);
        const auto least = hn::Set(d, 1e-30F);
        const auto kept = hn::Set(whole, static_cast<std::int32_t>(side));
        const auto others = hn::Set(whole, 1 - static_cast<std::int32_t>(side));
        constexpr std::size_t fewUnknown = 4;
        constexpr std::size_t piece = 512;
        constexpr std::size_t ahead = 1024;
        std::size_t unknown = 0;
        std::size_t x = 0;
        for (; x + lanes <= count; x += lanes) {
            if (x % piece == 0) {
                const std::size_t some = HWY_MIN(piece, (count - x) / lanes * lanes);
                if (unknown * lanes * fewUnknown > piece && some > lanes) {  // many will be unknown again
                    compareExactly<method>(in + x, first + x, second + x, out + x, some, numbers, side);
                    x += some - lanes;
                    continue;
                }
                unknown = 0;
            }
            __builtin_prefetch(first + x + ahead);
            __builtin_prefetch(second + x + ahead);
            const auto value = floatsAt(in + x);
            const auto a = floatsAt(first + x);
            const auto b = floatsAt(second + x);
            const auto found = rough.template operator()<method>(a, b);
            auto isAbove = hn::Gt(value, found.threshold);
            const auto error = hn::MulAdd(hn::Add(found.error, hn::Abs(value)), unit, least);
            // NaN is not known either.
            const auto isKnown = hn::Gt(hn::Abs(hn::Sub(value, found.threshold)), error);
            if (!isExact && !hn::AllTrue(d, isKnown)) {
                ++unknown;
                compareExactly<method>(in + x, first + x, second + x, out + x, lanes, numbers, side);
                continue;
            }
            if constexpr (isBernsen) {
                const auto isFlat = hn::Lt(hn::Sub(a, b), hn::Set(d, contrast));
                isAbove = hn::Or(hn::And(isFlat, rough.areBright(a, b)), hn::AndNot(isFlat, isAbove));
            }
            const auto result = hn::IfThenElse(hn::RebindMask(whole, isAbove), kept, others);
            hn::StoreU(hn::DemoteTo(bytes, result), bytes, out + x);
        }
        compareExactly<method>(in + x, first + x, second + x, out + x, count - x, numbers, side);
    }
}

#endif

template <class T, class M>
LocalThresholdRow<T, M> thresholdRow(Method method, T /*sample*/, M /*of what thresholds follow from*/) {
    using enum LocalThresholdingMethod;
    if constexpr (M(0.5) != M(0)) {
        switch (method) {
            case NIBLACK: return &compareRow<NIBLACK, T, M>;
            case SAUVOLA: return &compareRow<SAUVOLA, T, M>;
            case PHANSALKAR: return &compareRow<PHANSALKAR, T, M>;
            default: break;
        }
    }
    return method == BERNSEN ? &compareRow<BERNSEN, T, M> : &compareRow<MEAN, T, M>;
}

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

template <class T, class M>
LocalThresholdRow<T, M> localThresholdRow(LocalThresholdingMethod method, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, thresholdRow(method, T{}, M{}));
}

#define RIX_INSTANTIATE(T, M) \
    template LocalThresholdRow<T, M> localThresholdRow<T, M>(LocalThresholdingMethod, OptimLevelType);
#define RIX_INSTANTIATE_BOTH(T) RIX_INSTANTIATE(T, float) RIX_INSTANTIATE(T, T)
RIX_INSTANTIATE_BOTH(std::uint8_t)
RIX_INSTANTIATE_BOTH(std::uint16_t)
RIX_INSTANTIATE_BOTH(std::uint32_t)
RIX_INSTANTIATE_BOTH(std::int8_t)
RIX_INSTANTIATE_BOTH(std::int16_t)
RIX_INSTANTIATE_BOTH(std::int32_t)
RIX_INSTANTIATE(float, float)
RIX_INSTANTIATE(double, double)
#undef RIX_INSTANTIATE_BOTH
#undef RIX_INSTANTIATE

}  // namespace rix::segmentation
#endif
