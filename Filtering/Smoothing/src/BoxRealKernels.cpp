#include "BoxRealKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "BoxRealKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;
using M = hn::Mask<D>;
constexpr std::size_t lanes = HWY_MAX_BYTES / sizeof(double);

HWY_INLINE V load(const double* from) {
    return hn::LoadU(D(), from);
}
HWY_INLINE V load(const float* from) {
    return hn::PromoteTo(D(), hn::LoadU(hn::Rebind<float, D>(), from));
}
HWY_INLINE void store(V value, double* to) {
    hn::StoreU(value, D(), to);
}
HWY_INLINE void store(V value, float* to) {
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
    // The portable conversion of the vectors stops at the largest float, where processors give infinity.
    double values[lanes];
    hn::StoreU(value, D(), values);
    for (std::size_t i = 0; i < hn::Lanes(D()); ++i) {
        to[i] = static_cast<float>(values[i]);
    }
#else
    const hn::Rebind<float, D> d;
    hn::StoreU(hn::DemoteTo(d, value), d, to);
#endif
}

/// Eight vectors.
struct Group {
    V v[8];
};

/// The sums of a group of windows; the one place where their additions are written.
/// @param element gives the vector of elements 0 to 7, and from 8 on of those behind the first window
/// @param partial in: of this group; out: of the next
/// @param total out: the total of the group of elements that is completed
template <class Element>
HWY_INLINE void sumLong(const Element& element, std::size_t rest, V middle, V& partial, V& total, Group& out) {
    V suffix = middle;
    HWY_UNROLL(8)
    for (int b = 7; b >= 0; --b) {
        suffix = hn::Add(element(b), suffix);
        out.v[b] = suffix;
    }
    V running = partial;
    V next = hn::Zero(D());
    total = running;
    const int completing = 7 - static_cast<int>(rest);
    HWY_UNROLL(8)
    for (int b = 0; b < 8; ++b) {
        out.v[b] = hn::Add(out.v[b], running);
        const V entering = element(8 + b);
        running = hn::Add(running, entering);
        if (b == completing) {
            total = running;
        } else if (b > completing) {
            next = hn::Add(next, entering);
        }
    }
    partial = next;
}

template <class Element>
HWY_INLINE void sumShort(const Element& element, std::size_t size, Group& out) {
    HWY_UNROLL(8)
    for (int b = 0; b < 8; ++b) {
        V sum = element(b);
        for (int i = 1; i < static_cast<int>(size); ++i) {
            sum = hn::Add(sum, element(b + i));
        }
        out.v[b] = sum;
    }
}

/// Transposes each square of `lanes` vectors.
HWY_INLINE void transpose([[maybe_unused]] Group& g) {
    [[maybe_unused]] const D d;
#if HWY_TARGET == HWY_AVX3
    V t[8];
    HWY_UNROLL(4)
    for (int i = 0; i < 8; i += 2) {
        t[i] = hn::InterleaveLower(d, g.v[i], g.v[i + 1]);
        t[i + 1] = hn::InterleaveUpper(d, g.v[i], g.v[i + 1]);
    }
    HWY_UNROLL(2)
    for (int i = 0; i < 2; ++i) {
        const auto even01 = _mm512_shuffle_f64x2(t[i].raw, t[i + 2].raw, 0x88);
        const auto odd01 = _mm512_shuffle_f64x2(t[i].raw, t[i + 2].raw, 0xdd);
        const auto even23 = _mm512_shuffle_f64x2(t[i + 4].raw, t[i + 6].raw, 0x88);
        const auto odd23 = _mm512_shuffle_f64x2(t[i + 4].raw, t[i + 6].raw, 0xdd);
        g.v[i] = V{_mm512_shuffle_f64x2(even01, even23, 0x88)};
        g.v[i + 2] = V{_mm512_shuffle_f64x2(odd01, odd23, 0x88)};
        g.v[i + 4] = V{_mm512_shuffle_f64x2(even01, even23, 0xdd)};
        g.v[i + 6] = V{_mm512_shuffle_f64x2(odd01, odd23, 0xdd)};
    }
#elif HWY_TARGET == HWY_AVX2
    HWY_UNROLL(2)
    for (int i = 0; i < 8; i += 4) {
        const V low01 = hn::InterleaveLower(d, g.v[i], g.v[i + 1]);
        const V high01 = hn::InterleaveUpper(d, g.v[i], g.v[i + 1]);
        const V low23 = hn::InterleaveLower(d, g.v[i + 2], g.v[i + 3]);
        const V high23 = hn::InterleaveUpper(d, g.v[i + 2], g.v[i + 3]);
        g.v[i] = hn::ConcatLowerLower(d, low23, low01);
        g.v[i + 1] = hn::ConcatLowerLower(d, high23, high01);
        g.v[i + 2] = hn::ConcatUpperUpper(d, low23, low01);
        g.v[i + 3] = hn::ConcatUpperUpper(d, high23, high01);
    }
#elif HWY_TARGET == HWY_SCALAR
    static_assert(lanes == 1);
#else
    static_assert(lanes == 2);
    for (int i = 0; i < 8; i += 2) {
        const V first = g.v[i];
        g.v[i] = hn::InterleaveLower(d, first, g.v[i + 1]);
        g.v[i + 1] = hn::InterleaveUpper(d, first, g.v[i + 1]);
    }
#endif
}

template <class T>
void addRows(const T* const* in, std::size_t rows, double* sums, std::size_t count) {
    std::size_t x = 0;
    for (; x + lanes <= count; x += lanes) {
        V sum = load(sums + x);
        for (std::size_t row = 0; row < rows; ++row) {
            sum = hn::Add(sum, load(in[row] + x));
        }
        store(sum, sums + x);
    }
    for (; x < count; ++x) {
        for (std::size_t row = 0; row < rows; ++row) {
            sums[x] += static_cast<double>(in[row][x]);
        }
    }
}

/// The sums of `lanes` columns from x on.
template <class T, class Element>
HWY_INLINE void sumColumns(const BoxRealGroup<T>& group, std::size_t x, const Element& element, Group& out) {
    const BoxRealWindow& window = *group.window;
    if (window.size < 8) {
        sumShort(element, window.size, out);
    } else {
        V middle = hn::Zero(D());
        if (window.whole > 0) {
            middle = load(group.ring + x);
            if (!group.sectionStarts) {
                middle = hn::Add(middle, load(group.running + x));
            }
        }
        V partial = load(group.partial + x);
        V total;
        sumLong(element, window.rest, middle, partial, total, out);
        store(partial, group.partial + x);
        if (window.whole > 0) {
            store(total, group.ring + x);
            store(group.sectionStarts ? total : hn::Add(load(group.running + x), total), group.running + x);
        }
    }
    if (group.common != nullptr) {
        const V common = load(group.common + x);
        for (V& v : out.v) {
            v = hn::Add(v, common);
        }
    }
}

/// Calls `use(x, sums)` for all columns; where fewer than `lanes` are left, the others are 0.
template <class T, class Use>
HWY_INLINE void forColumns(const BoxRealGroup<T>& group, std::size_t count, const Use& use) {
    Group sums;
    std::size_t x = 0;
    for (; x + lanes <= count; x += lanes) {
        sumColumns(group, x, [&](int i) HWY_ATTR { return load(group.rows[i] + x); }, sums);
        use(x, sums);
    }
    if (x < count) {
        alignas(64) T left[16][lanes] = {};
        const std::size_t rows = group.window->size < 8 ? group.window->size + 7 : 16;
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t i = x; i < count; ++i) {
                left[row][i - x] = group.rows[row][i];
            }
        }
        sumColumns(group, x, [&](int i) HWY_ATTR { return load(left[i]); }, sums);
        use(x, sums);
    }
}

template <class T>
void toRows(const BoxRealGroup<T>& group, std::size_t count, double* const* rows) {
    forColumns(group, count, [&](std::size_t x, const Group& sums) HWY_ATTR {
        for (std::size_t b = 0; b < 8; ++b) {
            store(sums.v[b], rows[b] + x);
        }
    });
}

template <class T>
void toStrips(const BoxRealGroup<T>& group, std::size_t count, double* strips, std::size_t stride) {
    forColumns(group, count, [&](std::size_t x, Group& sums) HWY_ATTR {
        transpose(sums);
        for (std::size_t b = 0; b < 8; ++b) {
            store(sums.v[b], strips + b / lanes * stride + (x + b % lanes) * lanes);
        }
    });
}

/// Fills the ring for the first group of windows and gives what is running then.
HWY_INLINE void startRing(const double* elements, std::size_t firstGroup, std::size_t whole, double* ring, V& running) {
    const std::size_t start = firstGroup % whole;
    for (std::size_t i = 0; i < whole; ++i) {
        V total = hn::Zero(D());
        for (std::size_t e = 8 * (i + 1); e < 8 * (i + 2); ++e) {
            total = hn::Add(total, load(elements + e * lanes));
        }
        const std::size_t place = (start + i) % whole;
        store(total, ring + place * lanes);
        if (place < start) {
            running = place == 0 ? total : hn::Add(running, total);
        }
    }
    for (std::size_t place = whole - 1; place > start; --place) {
        store(hn::Add(load(ring + (place - 1) * lanes), load(ring + place * lanes)), ring + (place - 1) * lanes);
    }
}

template <class Out>
HWY_INLINE void finish(const BoxRealStrip<Out>& strip, std::size_t x, Group& sums) {
    const D d;
    if (strip.common != nullptr) {
        const V common = load(strip.common);
        for (V& v : sums.v) {
            v = hn::Add(v, common);
        }
    }
    if (strip.divisor != 0) {
        const V divisor = hn::Set(d, strip.divisor);
        for (V& v : sums.v) {
            v = hn::Div(v, divisor);
        }
    } else if (strip.rest != 0) {
        const V factor = hn::Set(d, strip.factor);
        const V rest = hn::Set(d, strip.rest);
        for (V& v : sums.v) {
            v = hn::Add(hn::Mul(v, factor), hn::Mul(v, rest));
        }
    } else {
        const V factor = hn::Set(d, strip.factor);
        for (V& v : sums.v) {
            v = hn::Mul(v, factor);
        }
    }
    transpose(sums);
    const std::size_t left = strip.count - x;
    if (left >= 8) {
        for (std::size_t b = 0; b < 8; ++b) {
            store(sums.v[b], strip.rows[b % lanes] + x + b / lanes * lanes);
        }
        return;
    }
    alignas(64) Out last[8 * lanes];
    for (std::size_t b = 0; b < 8; ++b) {
        store(sums.v[b], last + b % lanes * 8 + b / lanes * lanes);
    }
    for (std::size_t row = 0; row < lanes; ++row) {
        for (std::size_t i = 0; i < left; ++i) {
            strip.rows[row][x + i] = last[row * 8 + i];
        }
    }
}

template <class Out>
void totals(const BoxRealStrip<Out>& strip) {
    const BoxRealWindow window = *strip.window;
    Group sums;
    if (window.size < 8) {
        for (std::size_t x = 0; x < strip.count; x += 8) {
            const double* const elements = strip.elements + x * lanes;
            sumShort([&](int i) HWY_ATTR { return load(elements + static_cast<std::size_t>(i) * lanes); }, window.size,
                     sums);
            finish(strip, x, sums);
        }
        return;
    }
    V running = hn::Zero(D());
    V partial = hn::Zero(D());
    std::size_t place = 0;
    if (window.whole > 0) {
        place = strip.firstGroup % window.whole;
        startRing(strip.elements, strip.firstGroup, window.whole, strip.ring, running);
    }
    for (std::size_t e = 8 * (window.whole + 1); e < window.size; ++e) {
        partial = hn::Add(partial, load(strip.elements + e * lanes));
    }
    for (std::size_t x = 0; x < strip.count; x += 8) {
        const double* const elements = strip.elements + x * lanes;
        V middle = hn::Zero(D());
        double* const ring = strip.ring + place * lanes;
        if (window.whole > 0) {
            middle = place == 0 ? load(ring) : hn::Add(load(ring), running);
        }
        V total;
        const std::size_t ahead = window.size - 8;
        sumLong([&](int i)
                    HWY_ATTR { return load(elements + (static_cast<std::size_t>(i) + (i < 8 ? 0 : ahead)) * lanes); },
                window.rest, middle, partial, total, sums);
        if (window.whole > 0) {
            store(total, ring);
            running = place == 0 ? total : hn::Add(running, total);
            if (++place == window.whole) {
                place = 0;
                for (std::size_t i = window.whole - 1; i > 0; --i) {
                    double* const before = strip.ring + (i - 1) * lanes;
                    store(hn::Add(load(before), load(before + lanes)), before);
                }
            }
        }
        finish(strip, x, sums);
    }
}

inline std::size_t laneCount() {
    return lanes;
}

template <class T>
const BoxRealRows<T>& rows() {
    static constexpr BoxRealRows<T> table = {&addRows<T>, &toRows<T>, &toStrips<T>};
    return table;
}

template <class Out>
BoxRealTotals<Out> totalsOf() {
    return &totals<Out>;
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

std::size_t boxRealLanes(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, laneCount());
}

template <class T>
const BoxRealRows<T>& boxRealRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rows<T>());
}

template <class Out>
BoxRealTotals<Out> boxRealTotals(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, totalsOf<Out>());
}

template const BoxRealRows<float>& boxRealRows<float>(OptimLevelType);
template const BoxRealRows<double>& boxRealRows<double>(OptimLevelType);
template BoxRealTotals<float> boxRealTotals<float>(OptimLevelType);
template BoxRealTotals<double> boxRealTotals<double>(OptimLevelType);

}  // namespace rix::filtering::smoothing
#endif
