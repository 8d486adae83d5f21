#include "BoxPairKernels.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "BoxPairKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include "BoxAhead-inl.h"
#include "BoxPairVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

void reflect(const BoxPairs& row, std::size_t first, std::size_t count, std::size_t mirror) {
    for (std::size_t q = 0; q < 2 && q < count; ++q) {
        std::uint16_t* HWY_RESTRICT to = &row[first + q];
        const std::uint16_t* HWY_RESTRICT from = &row[mirror - first - q];
        for (std::size_t i = 0; i < (count + 1 - q) / 2; ++i) {
            to[i] = *(from - i);
        }
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class Row>
void addRows(const Row* in, std::size_t rows, const BoxPairs& sums, std::size_t count) {
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t i = 0; i < count; ++i) {
            sums[i] = static_cast<std::uint16_t>(sums[i] + in[row][i]);
        }
    }
}

void slideSamples(const std::uint8_t* in, const std::uint8_t* out, const BoxPairs& sums, std::size_t count) {
    std::uint16_t* HWY_RESTRICT even = sums.lane[0];
    std::uint16_t* HWY_RESTRICT odd = sums.lane[1];
    for (std::size_t j = 0; j < count / 2; ++j) {
        even[j] = static_cast<std::uint16_t>(even[j] + in[2 * j] - out[2 * j]);
        odd[j] = static_cast<std::uint16_t>(odd[j] + in[2 * j + 1] - out[2 * j + 1]);
    }
    if (count % 2 != 0) {
        sums[count - 1] = static_cast<std::uint16_t>(sums[count - 1] + in[count - 1] - out[count - 1]);
    }
}

void slideSums(const BoxPairs& in, const BoxPairs& out, const BoxPairs& sums, std::size_t count) {
    for (std::size_t q = 0; q < 2; ++q) {
        const std::uint16_t* HWY_RESTRICT entering = in.lane[q];
        const std::uint16_t* HWY_RESTRICT leaving = out.lane[q];
        std::uint16_t* HWY_RESTRICT to = sums.lane[q];
        for (std::size_t i = 0; i < (count + 1 - q) / 2; ++i) {
            to[i] = static_cast<std::uint16_t>(to[i] + entering[i] - leaving[i]);
        }
    }
}

std::uint16_t sumRow(const BoxPairs& row, std::size_t count) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += row[i];
    }
    return static_cast<std::uint16_t>(sum);
}

struct Sum {
    using Out = std::uint16_t;
    explicit Sum(const BoxPairDivider& /*divider*/) {}
    Out operator()(std::uint32_t total) const { return static_cast<Out>(total); }
};

struct Mean {
    using Out = std::uint8_t;
    explicit Mean(const BoxPairDivider& divider) : multiplier(divider.multiplier), shift(16U + divider.shift) {}
    Out operator()(std::uint32_t total) const { return static_cast<Out>(total * multiplier >> shift); }
    std::uint32_t multiplier;
    std::uint32_t shift;
};

template <class Finish>
void totalRow(const BoxPairs& columns, std::size_t count, std::size_t window, std::uint16_t first,
              typename Finish::Out* out, const BoxPairDivider& divider, const BoxAhead& /*ahead*/) {
    const Finish finish(divider);
    const BoxPairs leaving = columns;
    const BoxPairs entering = columns.from(window);
    auto total = static_cast<std::uint16_t>(first + divider.bias);
    const auto next = [&](std::size_t q, std::size_t j) HWY_ATTR {
        total = static_cast<std::uint16_t>(total + entering.lane[q][j] - leaving.lane[q][j]);
    };
    for (std::size_t j = 0; j < count / 2; ++j) {
        out[2 * j] = finish(total);
        next(0, j);
        out[2 * j + 1] = finish(total);
        next(1, j);
    }
    if (count % 2 != 0) {
        out[count - 1] = finish(total);
    }
}

inline const BoxPairRows& rowsOf() {
    static constexpr BoxPairRows rows = {
        &addRows<const std::uint8_t*>, &addRows<BoxPairs>, &slideSamples, &slideSums, &reflect, &sumRow};
    return rows;
}

template <class Finish>
BoxPairTotals<typename Finish::Out> totalsFor(std::size_t /*window*/) {
    return {&totalRow<Finish>, true};
}

#else

void addSamples(const std::uint8_t* const* in, std::size_t rows, const BoxPairs& sums, std::size_t count) {
    const BoxPairs to = sums;
    forSamples(count, [&](std::size_t i, const auto& loadRow) HWY_ATTR {
        V even = load(to.lane[0] + i / 2);
        V odd = load(to.lane[1] + i / 2);
        for (std::size_t row = 0; row < rows; ++row) {
            const V v = loadRow(in[row]);
            even = hn::Add(even, lowBytes(v));
            odd = hn::Add(odd, hn::ShiftRight<8>(v));
        }
        store(even, to.lane[0] + i / 2);
        store(odd, to.lane[1] + i / 2);
    });
}

void slideSamples(const std::uint8_t* in, const std::uint8_t* out, const BoxPairs& sums, std::size_t count) {
    const BoxPairs to = sums;
    forSamples(count, [&](std::size_t i, const auto& loadRow) HWY_ATTR {
        const V entering = loadRow(in);
        const V leaving = loadRow(out);
        const V even = hn::Sub(lowBytes(entering), lowBytes(leaving));
        const V odd = hn::Sub(hn::ShiftRight<8>(entering), hn::ShiftRight<8>(leaving));
        store(hn::Add(load(to.lane[0] + i / 2), even), to.lane[0] + i / 2);
        store(hn::Add(load(to.lane[1] + i / 2), odd), to.lane[1] + i / 2);
    });
}

/// Behind their last entry rows of sums that enter and leave hold zeros.
void addSums(const BoxPairs* in, std::size_t rows, const BoxPairs& sums, std::size_t count) {
    for (std::size_t q = 0; q < 2; ++q) {
        std::uint16_t* const to = sums.lane[q];
        for (std::size_t i = 0; i < (count + 1 - q) / 2; i += lanes) {
            V sum = load(to + i);
            for (std::size_t row = 0; row < rows; ++row) {
                sum = hn::Add(sum, load(in[row].lane[q] + i));
            }
            store(sum, to + i);
        }
    }
}

void slideSums(const BoxPairs& in, const BoxPairs& out, const BoxPairs& sums, std::size_t count) {
    for (std::size_t q = 0; q < 2; ++q) {
        const std::uint16_t* const entering = in.lane[q];
        const std::uint16_t* const leaving = out.lane[q];
        std::uint16_t* const to = sums.lane[q];
        for (std::size_t i = 0; i < (count + 1 - q) / 2; i += lanes) {
            store(hn::Add(load(to + i), hn::Sub(load(entering + i), load(leaving + i))), to + i);
        }
    }
}

std::uint16_t sumRow(const BoxPairs& row, std::size_t count) {
    const U16 d;
    V sum = hn::Zero(d);
    for (std::size_t q = 0; q < 2; ++q) {
        const std::size_t entries = (count + 1 - q) / 2;
        for (std::size_t i = 0; i < entries; i += lanes) {
            sum = hn::Add(sum, hn::IfThenElseZero(hn::FirstN(d, entries - i), load(row.lane[q] + i)));
        }
    }
    V all;
    scan(sum, all);
    return hn::GetLane(all);
}

template <class Finish, class Totals>
void totalRow(const BoxPairs& columns, std::size_t count, std::size_t window, std::uint16_t first,
              typename Finish::Out* out, const BoxPairDivider& divider, const BoxAhead& ahead) {
    const Finish finish(divider);
    Totals totals(columns, window, first, divider.bias);
    std::size_t x = 0;
    for (; x + samples <= count; x += samples) {
        askAhead(ahead, x, samples);
        finish(totals.at(x), out + x);
    }
    if (x < count) {
        HWY_ALIGN typename Finish::Out last[samples];
        finish(totals.at(x), last);
        std::memcpy(out + x, last, (count - x) * sizeof(*out));
    }
}

inline const BoxPairRows& rowsOf() {
    static constexpr BoxPairRows rows = {&addSamples, &addSums, &slideSamples, &slideSums, &reflect, &sumRow};
    return rows;
}

template <class Finish>
BoxPairTotals<typename Finish::Out> totalsFor(std::size_t window) {
    switch (window) {
        case 3: return {&totalRow<Finish, ShortTotals<3>>, false};
        case 5: return {&totalRow<Finish, ShortTotals<5>>, false};
        default: return {&totalRow<Finish, LongTotals>, true};
    }
}

#endif

inline BoxPairTotals<std::uint16_t> sumsFor(std::size_t window) {
    return totalsFor<Sum>(window);
}

inline BoxPairTotals<std::uint8_t> meansFor(std::size_t window) {
    return totalsFor<Mean>(window);
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

BoxPairDivider::BoxPairDivider(std::uint32_t divisor) {
    while ((2U << shift) < divisor) {
        ++shift;
    }
    const std::uint32_t power = std::uint32_t{1} << (16 + shift);
    const std::uint32_t up = (power + divisor - 1) / divisor;
    bias = up * divisor - power > 128 ? 1 : 0;
    multiplier = static_cast<std::uint16_t>(up - bias);
}

const BoxPairRows& boxPairRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rowsOf());
}

BoxPairTotals<std::uint16_t> boxPairSums(OptimLevelType level, std::size_t window) {
    return RIX_SELECT_KERNELS(level, sumsFor(window));
}

BoxPairTotals<std::uint8_t> boxPairMeans(OptimLevelType level, std::size_t window) {
    return RIX_SELECT_KERNELS(level, meansFor(window));
}

}  // namespace rix::filtering::smoothing
#endif
