#include "resampling/PlaceKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resampling/PlaceKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::geometry::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Elements whose places are computed together.
constexpr std::size_t chunk = 64;

/// Places of some elements: their first taps in the region, and what is behind the element before them.
template <class T>
struct Places {
    HWY_ALIGN std::int32_t offsets[chunk];
    HWY_ALIGN T fractions[3][chunk];
    /// How much of the samples is taken: 1 inside, 0 for the value alone.
    HWY_ALIGN T shares[chunk];
};

template <class T>
HWY_INLINE void findPlaces(const PlaceRow& row, int degree, std::size_t first, std::size_t count, Places<T>& places) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> di;
    const std::size_t lanes = hn::Lanes(d);
    const auto zero = hn::Zero(d);
    const auto one = hn::Set(d, 1.0);
    const auto half = hn::Set(d, 0.5);
    const bool toNearest = degree % 2 == 0;
    const auto before = static_cast<double>(tapsBefore(degree));
    for (std::size_t i = 0; i < count; i += lanes) {
        const auto column = hn::Iota(d, row.first + static_cast<double>(first + i));
        auto offset = zero;
        auto share = one;
        for (std::size_t axis = 0; axis < row.axes; ++axis) {
            auto place = zero;
            if (row.table[axis] != nullptr) {
                place = hn::LoadU(d, row.table[axis] + first + i);
            } else {
                place = hn::Add(hn::Mul(hn::Set(d, row.slope[axis]), column), hn::Set(d, row.start[axis]));
            }
            if (row.clamps && degree > 0) {
                const auto inside = hn::Min(hn::Max(place, zero), hn::Set(d, row.last[axis]));
                const auto distance = hn::Abs(hn::Sub(place, inside));
                share = hn::Mul(share, hn::IfThenElseZero(hn::Le(distance, half), hn::Sub(one, distance)));
                place = inside;
            }
            auto element = hn::Floor(toNearest ? hn::Add(place, half) : place);
            if (row.clamps && degree == 0) {
                const auto inside = hn::Min(hn::Max(element, zero), hn::Set(d, row.last[axis]));
                share = hn::IfThenElseZero(hn::Eq(element, inside), share);
                element = inside;
            }
            const auto index = hn::Sub(element, hn::Set(d, row.begin[axis] + before));
            offset = hn::Add(offset, hn::Mul(index, hn::Set(d, row.stride[axis])));
            if constexpr (sizeof(T) == sizeof(double)) {
                hn::StoreU(hn::Sub(place, element), d, places.fractions[axis] + i);
            } else {
                const hn::Rebind<float, decltype(d)> narrow;
                hn::StoreU(hn::DemoteTo(narrow, hn::Sub(place, element)), narrow, places.fractions[axis] + i);
            }
        }
        hn::StoreU(hn::DemoteTo(di, offset), di, places.offsets + i);
        if (row.mixes) {
            if constexpr (sizeof(T) == sizeof(double)) {
                hn::StoreU(share, d, places.shares + i);
            } else {
                const hn::Rebind<float, decltype(d)> narrow;
                hn::StoreU(hn::DemoteTo(narrow, share), narrow, places.shares + i);
            }
        }
    }
}

template <class T>
HWY_INLINE T between(T a, T b, T fraction) {
    return a + fraction * (b - a);
}

template <std::size_t axes, class T>
HWY_INLINE T linearAt(const T* at, std::size_t line, std::size_t plane, T x, T y, T z) {
    const T first = between(between(at[0], at[1], x), between(at[line], at[line + 1], x), y);
    if constexpr (axes == 2) {
        return first;
    } else {
        const T* const next = at + plane;
        return between(first, between(between(next[0], next[1], x), between(next[line], next[line + 1], x), y), z);
    }
}

template <std::size_t axes, class T>
HWY_INLINE void linear(const Places<T>& places, const T* region, std::size_t line, std::size_t plane, std::size_t count,
                       T* out) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = linearAt<axes>(region + places.offsets[i], line, plane, places.fractions[0][i], places.fractions[1][i],
                                places.fractions[2][i]);
    }
}

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using Four = hn::FixedTag<float, 4>;

template <class V>
HWY_INLINE V blend(V a, V b, V fraction) {
    return hn::Add(a, hn::Mul(fraction, hn::Sub(b, a)));
}

/// Four elements in a plane. The two samples of a row are read at once, those of both rows make a vector, and four of
/// these are transposed: several times as fast as gathers of single samples.
HWY_INLINE hn::Vec<Four> fourInPlane(const float* region, const std::int32_t* offsets, std::size_t line,
                                     hn::Vec<Four> x, hn::Vec<Four> y) {
    const Four d;
    const hn::Half<Four> pair;
    const hn::Repartition<double, Four> pairs;
    const auto samples = [&](std::size_t i) HWY_ATTR {
        const float* const at = region + offsets[i];
        return hn::Combine(d, hn::LoadU(pair, at + line), hn::LoadU(pair, at));
    };
    const auto first = samples(0);
    const auto second = samples(1);
    const auto third = samples(2);
    const auto fourth = samples(3);
    const auto above12 = hn::BitCast(pairs, hn::InterleaveLower(d, first, second));
    const auto below12 = hn::BitCast(pairs, hn::InterleaveUpper(d, first, second));
    const auto above34 = hn::BitCast(pairs, hn::InterleaveLower(d, third, fourth));
    const auto below34 = hn::BitCast(pairs, hn::InterleaveUpper(d, third, fourth));
    const auto above = blend(hn::BitCast(d, hn::InterleaveLower(pairs, above12, above34)),
                             hn::BitCast(d, hn::InterleaveUpper(pairs, above12, above34)), x);
    const auto below = blend(hn::BitCast(d, hn::InterleaveLower(pairs, below12, below34)),
                             hn::BitCast(d, hn::InterleaveUpper(pairs, below12, below34)), x);
    return blend(above, below, y);
}

template <std::size_t axes>
HWY_INLINE void linear(const Places<float>& places, const float* region, std::size_t line, std::size_t plane,
                       std::size_t count, float* out) {
    const Four d;
    for (std::size_t i = 0; i < count; i += 4) {
        const auto x = hn::Load(d, places.fractions[0] + i);
        const auto y = hn::Load(d, places.fractions[1] + i);
        auto result = fourInPlane(region, places.offsets + i, line, x, y);
        if constexpr (axes == 3) {
            result = blend(result, fourInPlane(region + plane, places.offsets + i, line, x, y),
                           hn::Load(d, places.fractions[2] + i));
        }
        hn::StoreU(result, d, out + i);
    }
}

#endif

// Linear, of bytes: a pair of a row and the next, and the pair behind it, are read as one word.

HWY_INLINE float betweenBytes(std::uint32_t word, float x, float y) {
    const auto byte = [word](int i) { return static_cast<float>(word >> (8 * i) & 0xFFU); };
    return between(between(byte(0), byte(2), x), between(byte(1), byte(3), x), y);
}

HWY_INLINE void linearBytes(const Places<float>& places, const std::uint16_t* region, std::size_t count, float* out) {
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint16_t* const at = region + places.offsets[i];
        out[i] = betweenBytes(at[0] | std::uint32_t{at[1]} << 16, places.fractions[0][i], places.fractions[1][i]);
    }
#else
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> di;
    const hn::RebindToUnsigned<decltype(d)> du;
    const auto low = hn::Set(du, 0xFFU);
    const auto real = [&](hn::Vec<decltype(du)> bytes) HWY_ATTR { return hn::ConvertTo(d, hn::BitCast(di, bytes)); };
    // Many loads of one word each are faster than gathers.
    HWY_ALIGN std::uint32_t words[chunk];
    for (std::size_t i = 0; i < count; ++i) {
        __builtin_memcpy(words + i, region + places.offsets[i], sizeof(words[i]));
    }
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        const auto word = hn::Load(du, words + i);
        const auto x = hn::Load(d, places.fractions[0] + i);
        const auto y = hn::Load(d, places.fractions[1] + i);
        const auto above = blend(real(hn::And(word, low)), real(hn::And(hn::ShiftRight<16>(word), low)), x);
        const auto below = blend(real(hn::And(hn::ShiftRight<8>(word), low)), real(hn::ShiftRight<24>(word)), x);
        hn::StoreU(blend(above, below, y), d, out + i);
    }
#endif
}

// Splines -------------------------------------------------------------------------------------------------------------

/// The samples of a spline at the taps about a place, as polynomials of what is behind the middle tap, of even degrees,
/// or the one before the place.
template <int degree, class T>
HWY_INLINE void splineWeights(T t, T* weights) {
    if constexpr (degree == 2) {
        const T a = T(0.5) - t;
        const T b = T(0.5) + t;
        weights[0] = T(0.5) * a * a;
        weights[chunk] = T(0.75) - t * t;
        weights[2 * chunk] = T(0.5) * b * b;
    } else if constexpr (degree == 3) {
        const T s = T(1) - t;
        weights[0] = s * s * s * T(1.0 / 6);
        weights[chunk] = T(2.0 / 3) + t * t * (T(0.5) * t - T(1));
        weights[2 * chunk] = T(2.0 / 3) + s * s * (T(0.5) * s - T(1));
        weights[3 * chunk] = t * t * t * T(1.0 / 6);
    } else if constexpr (degree == 4) {
        const T a = T(0.5) - t;
        const T b = T(0.5) + t;
        const T t2 = t * t;
        const T even = T(19.0 / 96) + t2 * (T(0.25) - t2 * T(1.0 / 6));
        const T odd = t * (T(11.0 / 24) - t2 * T(1.0 / 6));
        weights[0] = a * a * a * a * T(1.0 / 24);
        weights[chunk] = even - odd;
        weights[2 * chunk] = T(115.0 / 192) + t2 * (T(0.25) * t2 - T(0.625));
        weights[3 * chunk] = even + odd;
        weights[4 * chunk] = b * b * b * b * T(1.0 / 24);
    } else {
        const auto inner = [](T x) {
            const T x2 = x * x;
            return T(0.55) + x2 * (x2 * (T(0.25) - x * T(1.0 / 12)) - T(0.5));
        };
        const auto outer = [](T x) {
            return T(0.425) + x * (T(0.625) + x * (x * (T(1.25) + x * (x * T(1.0 / 24) - T(0.375))) - T(1.75)));
        };
        const T s = T(1) - t;
        weights[0] = s * s * s * s * s * T(1.0 / 120);
        weights[chunk] = outer(T(1) + t);
        weights[2 * chunk] = inner(t);
        weights[3 * chunk] = inner(s);
        weights[4 * chunk] = outer(T(1) + s);
        weights[5 * chunk] = t * t * t * t * t * T(1.0 / 120);
    }
}

/// Sums the rows of a place in lanes, one for each column, and then these.
template <std::size_t axes, int degree, class T>
HWY_INLINE void spline(const Places<T>& places, const T* region, std::size_t line, std::size_t plane, std::size_t count,
                       T* out) {
    constexpr std::size_t taps = degree + 1;
    HWY_ALIGN T weights[axes][taps * chunk];
    for (std::size_t axis = 0; axis < axes; ++axis) {
        for (std::size_t i = 0; i < count; ++i) {
            splineWeights<degree>(places.fractions[axis][i], weights[axis] + i);
        }
    }
    const hn::CappedTag<T, 4> d;
    constexpr std::size_t lanes = hn::MaxLanes(hn::CappedTag<T, 4>());
    constexpr std::size_t vectors = (taps + lanes - 1) / lanes;
    for (std::size_t i = 0; i < count; ++i) {
        const T* const at = region + places.offsets[i];
        hn::Vec<decltype(d)> sums[vectors];
        for (std::size_t v = 0; v < vectors; ++v) {
            sums[v] = hn::Zero(d);
        }
        for (std::size_t z = 0; z < (axes == 3 ? taps : 1); ++z) {
            for (std::size_t y = 0; y < taps; ++y) {
                const T weight = axes == 3 ? weights[axes - 1][z * chunk + i] * weights[1][y * chunk + i]
                                           : weights[1][y * chunk + i];
                const auto factor = hn::Set(d, weight);
                const T* const row = at + z * plane + y * line;
                for (std::size_t v = 0; v < vectors; ++v) {
                    sums[v] = hn::Add(sums[v], hn::Mul(factor, hn::LoadU(d, row + v * lanes)));
                }
            }
        }
        HWY_ALIGN T columns[vectors * lanes];
        for (std::size_t v = 0; v < vectors; ++v) {
            hn::Store(sums[v], d, columns + v * lanes);
        }
        T sum = columns[0] * weights[0][i];
        for (std::size_t x = 1; x < taps; ++x) {
            sum += columns[x] * weights[0][x * chunk + i];
        }
        out[i] = sum;
    }
}

template <std::size_t axes, class T>
HWY_INLINE void interpolateAt(const Places<T>& places, const PlaceRow& row, int degree, std::size_t count, T* out) {
    const auto* const region = static_cast<const T*>(row.region);
    const auto line = static_cast<std::size_t>(row.stride[1]);
    const auto plane = axes == 3 ? static_cast<std::size_t>(row.stride[2]) : 0;
    switch (degree) {
        case 2: spline<axes, 2>(places, region, line, plane, count, out); return;
        case 3: spline<axes, 3>(places, region, line, plane, count, out); return;
        case 4: spline<axes, 4>(places, region, line, plane, count, out); return;
        case 5: spline<axes, 5>(places, region, line, plane, count, out); return;
        default: linear<axes>(places, region, line, plane, count, out); return;
    }
}

/// Between results and the value that lies outside.
template <class T>
HWY_INLINE void mix(const PlaceRow& row, const Places<T>& places, std::size_t count, T value, T* out) {
    for (std::size_t i = 0; i < count && row.mixes; ++i) {
        const T share = places.shares[i];
        const T mixed = out[i] * share + value * (T(1) - share);
        out[i] = share == T(1) ? out[i] : share == T(0) ? value : mixed;
    }
}

template <class T>
void interpolate(const PlaceRow& row, int degree, T value, T* out) {
    Places<T> places;
    for (std::size_t first = 0; first < row.count; first += chunk) {
        const std::size_t count = HWY_MIN(chunk, row.count - first);
        findPlaces(row, degree, first, count, places);
        // What is behind the last place, of vectors that go beyond it, has a sample to read.
        for (std::size_t i = count; i < chunk && i < count + 4; ++i) {
            places.offsets[i] = places.offsets[count - 1];
        }
        if (row.axes == 3) {
            interpolateAt<3>(places, row, degree, count, out + first);
        } else {
            interpolateAt<2>(places, row, degree, count, out + first);
        }
        mix(row, places, count, value, out + first);
    }
}

void interpolateBytes(const PlaceRow& row, float value, float* out) {
    Places<float> places;
    const auto* const region = static_cast<const std::uint16_t*>(row.region);
    for (std::size_t first = 0; first < row.count; first += chunk) {
        const std::size_t count = HWY_MIN(chunk, row.count - first);
        findPlaces(row, 1, first, count, places);
        for (std::size_t i = count; i < chunk && i < count + 16; ++i) {
            places.offsets[i] = places.offsets[count - 1];
        }
        linearBytes(places, region, count, out + first);
        mix(row, places, count, value, out + first);
    }
}

// The nearest element -------------------------------------------------------------------------------------------------

template <class Word>
void nearest(const PlaceRow& row, const void* value, void* out) {
    Places<float> places;
    const auto* const region = static_cast<const Word*>(row.region);
    auto* const samples = static_cast<Word*>(out);
    for (std::size_t first = 0; first < row.count; first += chunk) {
        const std::size_t count = HWY_MIN(chunk, row.count - first);
        findPlaces(row, 0, first, count, places);
        for (std::size_t i = 0; i < count; ++i) {
            samples[first + i] = region[places.offsets[i]];
        }
        for (std::size_t i = 0; i < count && row.mixes; ++i) {
            if (places.shares[i] == 0.0F) {
                samples[first + i] = *static_cast<const Word*>(value);
            }
        }
    }
}

template <class T>
PlaceKernels<T> kernels() {
    return {&interpolate<T>};
}

BytesRow bytes() {
    return &interpolateBytes;
}

NearestRow nearestOf(std::size_t size) {
    switch (size) {
        case 1: return &nearest<std::uint8_t>;
        case 2: return &nearest<std::uint16_t>;
        case 4: return &nearest<std::uint32_t>;
        default: return &nearest<std::uint64_t>;
    }
}

}  // namespace rix::geometry::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::geometry {

template <class T>
PlaceKernels<T> placeKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template PlaceKernels<float> placeKernels<float>(OptimLevelType);
template PlaceKernels<double> placeKernels<double>(OptimLevelType);

BytesRow bytesRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, bytes());
}

NearestRow nearestRow(std::size_t size, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, nearestOf(size));
}

}  // namespace rix::geometry
#endif
