#include "distance/DistanceKernels.h"

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "distance/DistanceKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include "distance/NearSteps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::morphology::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class Class>
void countOn(const Class* classes, const Class* before, const std::int32_t* countsBefore, std::int32_t* counts,
             std::size_t count) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        counts[x] = (classes[x] == before[x] ? countsBefore[x] : 0) + 1;
    }
}

template <class Class>
std::size_t findRuns(const Class* classes, std::size_t count, ClassRun* runs) {
    std::size_t found = 0;
    std::uint32_t begin = 0;
    const auto endAt = [&](std::size_t x) HWY_ATTR {
        const auto end = static_cast<std::uint32_t>(x);
        runs[found++] = {begin, end, classes[begin] != 0};
        begin = end;
    };
    std::size_t x = 1;
    const hn::ScalableTag<Class> d;
    const std::size_t lanes = hn::Lanes(d);
    for (; x + lanes <= count; x += lanes) {
        std::uint8_t bytes[8] = {};
        hn::StoreMaskBits(d, hn::Ne(hn::LoadU(d, classes + x), hn::LoadU(d, classes + x - 1)), bytes);
        std::uint64_t bits = 0;
        __builtin_memcpy(&bits, bytes, sizeof(bits));
        for (; bits != 0; bits &= bits - 1) {
            endAt(x + static_cast<std::size_t>(__builtin_ctzll(bits)));
        }
    }
    for (; x < count; ++x) {
        if (classes[x] != classes[x - 1]) {
            endAt(x);
        }
    }
    endAt(count);
    return found;
}

template <class Height>
void fromCounts(const std::int32_t* forth, const std::int32_t* back, double spacing, bool isSquared, Height* heights,
                std::size_t count);

template <>
void fromCounts(const std::int32_t* forth, const std::int32_t* back, double /*spacing*/, bool isSquared,
                std::int32_t* heights, std::size_t count) {
    if (isSquared) {
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t x = 0; x < count; ++x) {
            const std::int32_t steps = HWY_MIN(HWY_MIN(forth[x], back[x]), 1 << 15);
            heights[x] = steps * steps;
        }
        return;
    }
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        const std::int32_t steps = HWY_MIN(forth[x], back[x]);
        heights[x] = steps < noCount ? steps : noHeight<std::int32_t>;
    }
}

template <>
void fromCounts(const std::int32_t* forth, const std::int32_t* back, double spacing, bool isSquared, double* heights,
                std::size_t count) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> di;
    const auto unit = hn::Set(d, spacing);
    const auto noSteps = hn::Set(d, static_cast<double>(noCount));
    const auto none = hn::Set(d, noHeight<double>);
    // The margin takes what is beyond the last.
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        const auto steps = hn::PromoteTo(d, hn::Min(hn::LoadU(di, forth + x), hn::LoadU(di, back + x)));
        const auto length = hn::IfThenElse(hn::Lt(steps, noSteps), hn::Mul(steps, unit), none);
        hn::StoreU(isSquared ? hn::Mul(length, length) : length, d, heights + x);
    }
}

/// Places whose heights are found together, of which the first and the last bound where the lowest come from.
constexpr std::int64_t abreast = 16;

/// Where the lowest of heights(j) and costs(j) is, the first of several.
template <bool takesMaximum, class Height>
HWY_INLINE std::int64_t lowestPlace(const Height* heights, const Height* costs, std::int64_t first, std::int64_t last) {
    const Tag<Height> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    auto lowest = hn::Set(d, hwy::HighestValue<Height>());
    auto places = hn::Iota(d, static_cast<Height>(first));
    auto place = hn::Set(d, static_cast<Height>(first));
    const auto step = hn::Set(d, static_cast<Height>(lanes));
    std::int64_t j = first;
    for (; j + lanes <= last + 1; j += lanes) {
        const auto value = join<takesMaximum>(d, hn::LoadU(d, heights + j), hn::LoadU(d, costs + j));
        const auto isLower = hn::Lt(value, lowest);
        lowest = hn::IfThenElse(isLower, value, lowest);
        place = hn::IfThenElse(isLower, places, place);
        places = hn::Add(places, step);
    }
    if (j <= last) {
        const auto value = join<takesMaximum>(d, hn::LoadU(d, heights + j), hn::LoadU(d, costs + j));
        const auto isLower = hn::And(hn::Lt(value, lowest), hn::FirstN(d, static_cast<std::size_t>(last + 1 - j)));
        lowest = hn::IfThenElse(isLower, value, lowest);
        place = hn::IfThenElse(isLower, places, place);
    }
    const auto isLowest = hn::Eq(lowest, hn::MinOfLanes(d, lowest));
    const auto found = hn::IfThenElse(isLowest, place, hn::Set(d, hwy::HighestValue<Height>()));
    return static_cast<std::int64_t>(hn::GetLane(hn::MinOfLanes(d, found)));
}

/// The results of places from `begin` on, whose lowest come from `first` to `last`.
template <bool takesMaximum, class Height>
HWY_INLINE void fillPlaces(const Height* heights, std::int64_t begin, std::int64_t first, std::int64_t last,
                           const Height* ofSteps, Height* out) {
    const Tag<Height> d;
    constexpr std::size_t lanes = hn::MaxLanes(Tag<Height>());
    constexpr std::size_t vectors = abreast / lanes;
    hn::Vec<Tag<Height>> lowest[vectors];
    for (std::size_t v = 0; v < vectors; ++v) {
        lowest[v] = hn::Set(d, noHeight<Height>);
    }
    for (std::int64_t j = first; j <= last; ++j) {
        const auto height = hn::Set(d, heights[j]);
        const Height* const costs = ofSteps + (begin - j);
        for (std::size_t v = 0; v < vectors; ++v) {
            lowest[v] = hn::Min(lowest[v], join<takesMaximum>(d, height, hn::LoadU(d, costs + v * lanes)));
        }
    }
    for (std::size_t v = 0; v < vectors; ++v) {
        hn::StoreU(lowest[v], d, out + begin + static_cast<std::int64_t>(v * lanes));
    }
}

/// A search through so many places is not made shorter.
constexpr std::int64_t shortSearch = 64;

/// Finds the place that the lowest at x comes from, between those of two places around it. As costs are convex, and
/// alike from everywhere, the order of places is that of where theirs come from.
template <bool takesMaximum, class Height>
HWY_INLINE std::int64_t boundAt(const Height* heights, std::int64_t x, std::int64_t first, std::int64_t last,
                                const LineCosts<Height>& costs) {
    const Height* const ofSteps = costs.ofSteps - x;
    const auto at = [&](std::int64_t j)
                        HWY_ATTR { return takesMaximum ? HWY_MAX(heights[j], ofSteps[j]) : heights[j] + ofSteps[j]; };
    if (last - first > shortSearch) {
        // What is known to be reached needs no steps that cost more.
        const Height known = HWY_MIN(heights[x], HWY_MIN(at(first), at(last)));
        double units = static_cast<double>(known);
        if (costs.isSquared) {
            units = __builtin_sqrt(units);
        }
        const double steps = units * costs.voxelsPerUnit;
        const std::int64_t farthest = steps < noCount ? static_cast<std::int64_t>(steps) + 1 : noCount;
        first = HWY_MAX(first, x - farthest);
        last = HWY_MIN(last, x + farthest);
    }
    return first == last ? first : lowestPlace<takesMaximum>(heights, ofSteps, first, last);
}

template <bool takesMaximum, class Height>
HWY_INLINE void transformRun(const Height* heights, std::int64_t begin, std::int64_t end,
                             const LineCosts<Height>& costs, std::uint32_t* bounds, Height* out) {
    const std::int64_t blocks = (end - begin + abreast - 1) / abreast;
    // Bounds count from the place before the run, so that they are never negative. Those of its ends are not looked
    // for: where another class lies beyond them they are no more than a step away.
    const std::int64_t base = begin - 1;
    bounds[0] = 0;
    bounds[blocks] = static_cast<std::uint32_t>(end - base);
    std::int64_t stride = 1;
    while (2 * stride < blocks) {
        stride *= 2;
    }
    for (; stride > 0; stride /= 2) {
        for (std::int64_t k = stride; k < blocks; k += 2 * stride) {
            const std::int64_t first = base + bounds[k - stride];
            const std::int64_t last = base + bounds[HWY_MIN(k + stride, blocks)];
            bounds[k] = static_cast<std::uint32_t>(
                boundAt<takesMaximum>(heights, begin + k * abreast, first, last, costs) - base);
        }
    }
    for (std::int64_t k = 0; k < blocks; ++k) {
        fillPlaces<takesMaximum>(heights, begin + k * abreast, base + bounds[k], base + bounds[k + 1], costs.ofSteps,
                                 out);
    }
}

/// Clears whole vectors, of which the last may reach beyond the end.
template <class Height>
HWY_INLINE void clear(Height* out, std::size_t begin, std::size_t end) {
    const Tag<Height> d;
    for (std::size_t x = begin; x < end; x += hn::Lanes(d)) {
        hn::StoreU(hn::Zero(d), d, out + x);
    }
}

template <bool takesMaximum, class Height>
HWY_INLINE void transformRuns(Height* heights, const ClassRun* runs, std::size_t runCount,
                              const LineNeeds<Height>& needs, const LineCosts<Height>& costs, std::uint32_t* bounds,
                              Height* out, std::size_t count) {
    std::size_t done = 0;
    for (std::size_t run = 0; run < runCount; ++run) {
        const std::size_t begin = runs[run].begin;
        const std::size_t end = runs[run].end;
        const bool isObject = runs[run].isObject;
        if (!(isObject ? needs.ofObjects : needs.ofBackground)) {
            continue;
        }
        clear(out, done, begin);  // and what the run overwrites
        const Height beyond = isObject ? needs.beyondObjects : noHeight<Height>;
        Height* const ends[] = {heights + begin - 1, heights + end};
        const Height behind = *ends[1];  // of the next run
        *ends[0] = begin == 0 ? beyond : Height{0};
        *ends[1] = end == count ? beyond : Height{0};
        transformRun<takesMaximum>(heights, static_cast<std::int64_t>(begin), static_cast<std::int64_t>(end), costs,
                                   bounds, out);
        *ends[1] = behind;
        done = end;
    }
    clear(out, done, count);
}

template <class Height>
void transform(Height* heights, const ClassRun* runs, std::size_t runCount, const LineNeeds<Height>& needs,
               const LineCosts<Height>& costs, std::uint32_t* bounds, Height* out, std::size_t count) {
    if (costs.takesMaximum) {
        transformRuns<true>(heights, runs, runCount, needs, costs, bounds, out, count);
    } else {
        transformRuns<false>(heights, runs, runCount, needs, costs, bounds, out, count);
    }
}

template <class Height>
void clearOthers(const std::uint8_t* classes, bool areObjects, Height* heights, std::size_t count) {
    const std::uint8_t kept = areObjects ? 1 : 0;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        heights[x] = classes[x] == kept ? heights[x] : 0;
    }
}

template <class Height>
void toDistances(const Height* heights, bool isSquared, float* distances, std::size_t count);

template <>
void toDistances(const double* heights, bool isSquared, float* distances, std::size_t count) {
    const Tag<double> d;
    const hn::Rebind<float, decltype(d)> df;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    // One by one Highway clamps infinities.
    for (; isSquared && lanes > 1 && x + lanes <= count; x += lanes) {
        const auto height = hn::LoadU(d, heights + x);
        const bool isZero = hn::AllTrue(d, hn::Eq(height, hn::Zero(d)));  // roots take long
        hn::StoreU(hn::DemoteTo(df, isZero ? height : hn::Sqrt(height)), df, distances + x);
    }
    for (; x < count; ++x) {
        distances[x] = static_cast<float>(isSquared ? __builtin_sqrt(heights[x]) : heights[x]);
    }
}

/// Numbers up to here are exact in 24 bits: their root is taken in these, of larger ones in twice as many.
constexpr std::int32_t mostOfShortRoots = 1 << 24;

template <>
void toDistances(const std::int32_t* heights, bool isSquared, float* distances, std::size_t count) {
    const float none = __builtin_inff();
    const auto convert = [&](std::size_t begin, std::size_t end) HWY_ATTR {
        for (std::size_t x = begin; x < end; ++x) {
            const auto height = static_cast<double>(heights[x]);
            distances[x] = heights[x] == noHeight<std::int32_t>
                               ? none
                               : static_cast<float>(isSquared ? __builtin_sqrt(height) : height);
        }
    };
    const Tag<std::int32_t> d;
    const hn::RebindToFloat<decltype(d)> df;
    const std::size_t lanes = hn::Lanes(d);
    const auto most = hn::Set(d, mostOfShortRoots);
    std::size_t x = 0;
    for (; x + lanes <= count; x += lanes) {
        const auto height = hn::LoadU(d, heights + x);
        if (hn::AllFalse(d, hn::Gt(height, most))) {
            const auto value = hn::ConvertTo(df, height);
            hn::StoreU(isSquared ? hn::Sqrt(value) : value, df, distances + x);
        } else {
            convert(x, x + lanes);
        }
    }
    convert(x, count);
}

template <class Class>
ClassKernels<Class> classes() {
    return {&countOn<Class>, &findRuns<Class>};
}

template <class Height>
HeightKernels<Height> heights() {
    return {&fromCounts<Height>, &transform<Height>, &clearOthers<Height>, &transformNear<Height>,
            &toDistances<Height>};
}

}  // namespace rix::morphology::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::morphology {

template <class Class>
ClassKernels<Class> classKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, classes<Class>());
}
template <class Height>
HeightKernels<Height> heightKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, heights<Height>());
}

template ClassKernels<std::uint8_t> classKernels<std::uint8_t>(OptimLevelType);
template ClassKernels<std::uint16_t> classKernels<std::uint16_t>(OptimLevelType);
template ClassKernels<std::uint32_t> classKernels<std::uint32_t>(OptimLevelType);
template ClassKernels<std::uint64_t> classKernels<std::uint64_t>(OptimLevelType);
template HeightKernels<std::int32_t> heightKernels<std::int32_t>(OptimLevelType);
template HeightKernels<double> heightKernels<double>(OptimLevelType);

}  // namespace rix::morphology
#endif
