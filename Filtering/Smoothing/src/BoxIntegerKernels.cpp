#include "BoxIntegerKernels.h"

#include <cmath>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "BoxIntegerKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include "BoxIntegerVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

/// Calls `vectors(i)` for whole vectors of quads, `i` counting samples, and `single(i)` for the samples that are left.
template <class Vectors, class Single>
HWY_INLINE void forSamples(std::size_t count, const Vectors& vectors, const Single& single) {
    std::size_t i = 0;
    for (; i + samples <= count; i += samples) {
        vectors(i);
    }
    for (; i < count; ++i) {
        single(i);
    }
}

template <class T>
void addRow(const T* in, const BoxQuads32& sums, std::size_t count) {
    forSamples(
        count,
        [&](std::size_t i) HWY_ATTR {
            const Quad entering = loadSamples(in + i);
            for (std::size_t q = 0; q < 4; ++q) {
                store(hn::Add(load(sums.lane[q] + i / 4), entering.v[q]), sums.lane[q] + i / 4);
            }
        },
        [&](std::size_t i) HWY_ATTR { sums.lane[i % 4][i / 4] += static_cast<std::uint32_t>(in[i]); });
}

template <class T>
void slideRow(const T* in, const T* out, const BoxQuads32& sums, std::size_t count) {
    forSamples(
        count,
        [&](std::size_t i) HWY_ATTR {
            const Quad change = loadDifferences(in + i, out + i);
            for (std::size_t q = 0; q < 4; ++q) {
                store(hn::Add(load(sums.lane[q] + i / 4), change.v[q]), sums.lane[q] + i / 4);
            }
        },
        [&](std::size_t i) HWY_ATTR {
            sums.lane[i % 4][i / 4] += static_cast<std::uint32_t>(in[i]) - static_cast<std::uint32_t>(out[i]);
        });
}

void addSums(const BoxQuads32& in, const BoxQuads32& sums, std::size_t count) {
    for (std::size_t q = 0; q < 4; ++q) {
        const std::uint32_t* HWY_RESTRICT from = in.lane[q];
        std::uint32_t* HWY_RESTRICT to = sums.lane[q];
        for (std::size_t i = 0; i < (count + 3 - q) / 4; ++i) {
            to[i] += from[i];
        }
    }
}

void slideSums(const BoxQuads32& in, const BoxQuads32& out, const BoxQuads32& sums, std::size_t count) {
    for (std::size_t q = 0; q < 4; ++q) {
        const std::uint32_t* HWY_RESTRICT entering = in.lane[q];
        const std::uint32_t* HWY_RESTRICT leaving = out.lane[q];
        std::uint32_t* HWY_RESTRICT to = sums.lane[q];
        for (std::size_t i = 0; i < (count + 3 - q) / 4; ++i) {
            to[i] += entering[i] - leaving[i];
        }
    }
}

void reflect(const BoxQuads32& row, std::size_t first, std::size_t count, std::size_t mirror) {
    for (std::size_t q = 0; q < 4 && q < count; ++q) {
        const std::size_t e = first + q;
        std::uint32_t* HWY_RESTRICT to = row.lane[e % 4] + e / 4;
        const std::size_t source = mirror - e;
        const std::uint32_t* HWY_RESTRICT from = row.lane[source % 4] + source / 4;
        const std::size_t entries = (count + 3 - q) / 4;
        for (std::size_t i = 0; i < entries; ++i) {
            to[i] = *(from - i);
        }
    }
}

std::uint32_t sumRow(const BoxQuads32& row, std::size_t count) {
    std::uint32_t sum = 0;
    for (std::size_t q = 0; q < 4; ++q) {
        const std::uint32_t* const from = row.lane[q];
        for (std::size_t i = 0; i < (count + 3 - q) / 4; ++i) {
            sum += from[i];
        }
    }
    return sum;
}

/// Totals as they are.
struct Sum {
    explicit Sum(const BoxDivider& /*divider*/) {}
    HWY_INLINE V operator()(V total) const { return total; }
};

/// Quotients of totals without sign.
struct UnsignedMean {
    explicit UnsignedMean(const BoxDivider& divider)
        : multiplier(hn::Set(U32(), divider.multiplier)), shift(static_cast<int>(divider.shift)) {}
    HWY_INLINE V operator()(V total) const { return hn::ShiftRightSame(multiplyHigh(total, multiplier), shift); }
    V multiplier;
    int shift;
};

/// Quotients of totals with sign: that of the magnitude, the sign put back.
struct SignedMean : UnsignedMean {
    using UnsignedMean::UnsignedMean;
    HWY_INLINE V operator()(V total) const {
        const V sign = hn::BitCast(U32(), hn::ShiftRight<31>(hn::BitCast(I32(), total)));
        const V magnitude = hn::Sub(hn::Xor(total, sign), sign);
        return hn::Sub(hn::Xor(UnsignedMean::operator()(magnitude), sign), sign);
    }
};

struct FloatMean {
    explicit FloatMean(const BoxDivider& divider) : factor(hn::Set(F32(), divider.factor)) {}
    HWY_INLINE V operator()(V total) const {
        return truncate(hn::Mul(hn::ConvertTo(F32(), hn::BitCast(I32(), total)), factor));
    }
    hn::Vec<F32> factor;
};

/// The change of the totals along the row has to be summed up: first inside the four of a lane, then over the lanes, then
/// from vector to vector, where one addition is all that waits for the vector before.
template <class Finish, class Out>
void totalRow(const BoxQuads32& columns, std::size_t count, std::size_t window, std::uint32_t first, Out* out,
              const BoxDivider& divider) {
    const Finish finish(divider);
    // The totals behind output x + 3: the entering sums are x + window to x + window + 3, the leaving ones x to x + 3.
    std::uint32_t* entering[4];
    for (std::size_t q = 0; q < 4; ++q) {
        entering[q] = columns.lane[(window + q) % 4] + (window + q) / 4;
    }
    const U32 d;
    V carry = hn::Set(d, first);
    for (std::size_t x = 0; x < count; x += samples) {
        V change[4];
        for (std::size_t q = 0; q < 4; ++q) {
            change[q] = hn::Sub(load(entering[q] + x / 4), load(columns.lane[q] + x / 4));
        }
        const V inLane = hn::Add(hn::Add(change[0], change[1]), hn::Add(change[2], change[3]));
        const V upToLane = scan(inLane);
        Quad totals;
        totals.v[0] = hn::Add(hn::Sub(upToLane, inLane), carry);
        for (std::size_t q = 1; q < 4; ++q) {
            totals.v[q] = hn::Add(totals.v[q - 1], change[q - 1]);
        }
        carry = hn::Add(carry, broadcastLast(upToLane));
        for (V& v : totals.v) {
            v = finish(v);
        }
        if (count - x >= samples) {
            storeSamples(totals, out + x);
        } else {
            HWY_ALIGN Out last[samples];
            storeSamples(totals, last);
            for (std::size_t i = 0; x + i < count; ++i) {
                out[x + i] = last[i];
            }
        }
    }
}

template <class T>
const BoxSlideRows<T>& slideRows() {
    static constexpr BoxSlideRows<T> rows = {&addRow<T>, &slideRow<T>};
    return rows;
}

inline const BoxSumRows& sumRows() {
    static constexpr BoxSumRows rows = {&addSums, &slideSums, &reflect, &sumRow};
    return rows;
}

template <class Out>
const BoxTotalRows<Out>& totalRows() {
    using Mean = std::conditional_t<std::is_signed_v<Out>, SignedMean, UnsignedMean>;
    if constexpr (sizeof(Out) == 1) {
        static constexpr BoxTotalRows<Out> rows = {&totalRow<Sum, Out>, &totalRow<Mean, Out>,
                                                   &totalRow<FloatMean, Out>};
        return rows;
    } else if constexpr (sizeof(Out) == 2) {
        static constexpr BoxTotalRows<Out> rows = {&totalRow<Sum, Out>, &totalRow<Mean, Out>, nullptr};
        return rows;
    } else {
        static constexpr BoxTotalRows<Out> rows = {&totalRow<Sum, Out>, nullptr, nullptr};
        return rows;
    }
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

BoxDivider::BoxDivider(std::uint32_t divisor) {
    while ((std::uint64_t{2} << shift) < divisor) {
        ++shift;
    }
    multiplier = static_cast<std::uint32_t>(((std::uint64_t{1} << (32 + shift)) + divisor - 1) / divisor);
    factor = 1.0F / static_cast<float>(divisor);
    // The product of two floats is exact in double precision.
    if (static_cast<double>(factor) * divisor < 1.0) {
        factor = std::nextafter(factor, 1.0F);
    }
}

template <class T>
const BoxSlideRows<T>& boxSlideRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, slideRows<T>());
}

const BoxSumRows& boxSumRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, sumRows());
}

template <class Out>
const BoxTotalRows<Out>& boxTotalRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, totalRows<Out>());
}

template const BoxSlideRows<std::uint8_t>& boxSlideRows<std::uint8_t>(OptimLevelType);
template const BoxSlideRows<std::int8_t>& boxSlideRows<std::int8_t>(OptimLevelType);
template const BoxSlideRows<std::uint16_t>& boxSlideRows<std::uint16_t>(OptimLevelType);
template const BoxSlideRows<std::int16_t>& boxSlideRows<std::int16_t>(OptimLevelType);

template const BoxTotalRows<std::uint8_t>& boxTotalRows<std::uint8_t>(OptimLevelType);
template const BoxTotalRows<std::int8_t>& boxTotalRows<std::int8_t>(OptimLevelType);
template const BoxTotalRows<std::uint16_t>& boxTotalRows<std::uint16_t>(OptimLevelType);
template const BoxTotalRows<std::int16_t>& boxTotalRows<std::int16_t>(OptimLevelType);
template const BoxTotalRows<std::int32_t>& boxTotalRows<std::int32_t>(OptimLevelType);
template const BoxTotalRows<float>& boxTotalRows<float>(OptimLevelType);

}  // namespace rix::filtering::smoothing
#endif
