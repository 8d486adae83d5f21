// The vectors of quads: what is written for each instruction set. Included once a pass by BoxIntegerKernels.cpp.

#if defined(RIX_BOX_INTEGER_VECTORS) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_BOX_INTEGER_VECTORS
#undef RIX_BOX_INTEGER_VECTORS
#else
#define RIX_BOX_INTEGER_VECTORS
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using U32 = hn::ScalableTag<std::uint32_t>;
using I32 = hn::RebindToSigned<U32>;
using U16 = hn::Repartition<std::uint16_t, U32>;
using I16 = hn::RebindToSigned<U16>;
using U64 = hn::ScalableTag<std::uint64_t>;
using F32 = hn::ScalableTag<float>;
using V = hn::Vec<U32>;
#if HWY_TARGET == HWY_SCALAR
constexpr std::size_t lanes = 1;
#else
constexpr std::size_t lanes = HWY_MAX_BYTES / 4;
#endif
/// Samples of a vector of quads.
constexpr std::size_t samples = 4 * lanes;

/// Lane j of vector q belongs to sample 4 * j + q.
struct Quad {
    V v[4];
};

HWY_INLINE V load(const std::uint32_t* from) {
    return hn::LoadU(U32(), from);
}
HWY_INLINE void store(V value, std::uint32_t* to) {
    hn::StoreU(value, U32(), to);
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
HWY_INLINE Quad loadSamples(const T* in) {
    Quad quad;
    for (std::size_t q = 0; q < 4; ++q) {
        quad.v[q] = hn::Set(U32(), static_cast<std::uint32_t>(in[q]));
    }
    return quad;
}

template <class T>
HWY_INLINE Quad loadDifferences(const T* in, const T* out) {
    Quad quad;
    for (std::size_t q = 0; q < 4; ++q) {
        quad.v[q] = hn::Set(U32(), static_cast<std::uint32_t>(in[q]) - static_cast<std::uint32_t>(out[q]));
    }
    return quad;
}

template <class Out>
HWY_INLINE void storeSamples(const Quad& quad, Out* out) {
    for (std::size_t q = 0; q < 4; ++q) {
        out[q] = static_cast<Out>(static_cast<std::int32_t>(quad.v[q].raw));
    }
}

HWY_INLINE V multiplyHigh(V a, V b) {
    return hn::Set(U32(), static_cast<std::uint32_t>(std::uint64_t{a.raw} * b.raw >> 32));
}
HWY_INLINE V truncate(hn::Vec<F32> value) {
    return hn::Set(U32(), static_cast<std::uint32_t>(static_cast<std::int32_t>(value.raw)));
}
HWY_INLINE V scan(V v) {
    return v;
}
HWY_INLINE V broadcastLast(V v) {
    return v;
}

#else

/// The low and the high half of each lane with their sign.
HWY_INLINE V signedLow(V v) {
    return hn::BitCast(U32(), hn::ShiftRight<16>(hn::BitCast(I32(), hn::ShiftLeft<16>(v))));
}
HWY_INLINE V signedHigh(V v) {
    return hn::BitCast(U32(), hn::ShiftRight<16>(hn::BitCast(I32(), v)));
}
HWY_INLINE V loadBytes(const void* from) {
    return hn::BitCast(U32(), hn::LoadU(hn::Repartition<std::uint8_t, U32>(), static_cast<const std::uint8_t*>(from)));
}

HWY_INLINE Quad loadSamples(const std::uint8_t* in) {
    const V v = loadBytes(in);
    const V mask = hn::Set(U32(), 0xFF);
    return {{hn::And(v, mask), hn::And(hn::ShiftRight<8>(v), mask), hn::And(hn::ShiftRight<16>(v), mask),
             hn::ShiftRight<24>(v)}};
}
HWY_INLINE Quad loadSamples(const std::int8_t* in) {
    const auto v = hn::BitCast(I32(), loadBytes(in));
    const U32 d;
    return {{hn::BitCast(d, hn::ShiftRight<24>(hn::ShiftLeft<24>(v))),
             hn::BitCast(d, hn::ShiftRight<24>(hn::ShiftLeft<16>(v))),
             hn::BitCast(d, hn::ShiftRight<24>(hn::ShiftLeft<8>(v))), hn::BitCast(d, hn::ShiftRight<24>(v))}};
}
/// 16 bit: the even lanes hold the samples 4 * j and 4 * j + 1, the odd ones the next two.
template <class T>
HWY_INLINE void loadPairs(const T* in, V& even, V& odd) {
    const V first = loadBytes(in);
    const V second = loadBytes(in + samples / 2);
    even = hn::ConcatEven(U32(), second, first);
    odd = hn::ConcatOdd(U32(), second, first);
}
HWY_INLINE Quad loadSamples(const std::uint16_t* in) {
    V even;
    V odd;
    loadPairs(in, even, odd);
    const V mask = hn::Set(U32(), 0xFFFF);
    return {{hn::And(even, mask), hn::ShiftRight<16>(even), hn::And(odd, mask), hn::ShiftRight<16>(odd)}};
}
HWY_INLINE Quad loadSamples(const std::int16_t* in) {
    V even;
    V odd;
    loadPairs(in, even, odd);
    return {{signedLow(even), signedHigh(even), signedLow(odd), signedHigh(odd)}};
}

/// Differences of bytes without sign fit 16 bits.
HWY_INLINE Quad byteDifferences(V in, V out) {
    const auto a = hn::BitCast(U16(), in);
    const auto b = hn::BitCast(U16(), out);
    const auto mask = hn::Set(U16(), 0xFF);
    const V low = hn::BitCast(U32(), hn::Sub(hn::And(a, mask), hn::And(b, mask)));
    const V high = hn::BitCast(U32(), hn::Sub(hn::ShiftRight<8>(a), hn::ShiftRight<8>(b)));
    return {{signedLow(low), signedLow(high), signedHigh(low), signedHigh(high)}};
}
HWY_INLINE Quad loadDifferences(const std::uint8_t* in, const std::uint8_t* out) {
    return byteDifferences(loadBytes(in), loadBytes(out));
}
HWY_INLINE Quad loadDifferences(const std::int8_t* in, const std::int8_t* out) {
    const V bias = hn::Set(U32(), 0x80808080);
    return byteDifferences(hn::Xor(loadBytes(in), bias), hn::Xor(loadBytes(out), bias));
}
template <class T>
HWY_INLINE Quad loadDifferences(const T* in, const T* out) {
    const Quad a = loadSamples(in);
    const Quad b = loadSamples(out);
    Quad change;
    for (std::size_t q = 0; q < 4; ++q) {
        change.v[q] = hn::Sub(a.v[q], b.v[q]);
    }
    return change;
}

/// a0 b0 a1 b1 ...
HWY_INLINE void interleave(V a, V b, V& low, V& high) {
#if HWY_TARGET == HWY_AVX3
    const auto lowIndices = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    const auto highIndices = _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
    low = V{_mm512_permutex2var_epi32(a.raw, lowIndices, b.raw)};
    high = V{_mm512_permutex2var_epi32(a.raw, highIndices, b.raw)};
#else
    const U32 d;
    const V lower = hn::InterleaveLower(d, a, b);
    const V upper = hn::InterleaveUpper(d, a, b);
#if HWY_TARGET == HWY_AVX2
    low = hn::ConcatLowerLower(d, upper, lower);
    high = hn::ConcatUpperUpper(d, upper, lower);
#else
    low = lower;
    high = upper;
#endif
#endif
}

HWY_INLINE void storeBytes(V v, void* to) {
    const hn::Repartition<std::uint8_t, U32> d;
    hn::StoreU(hn::BitCast(d, v), d, static_cast<std::uint8_t*>(to));
}

/// Keeps the low bits.
template <class Out>
HWY_INLINE void storeSamples(const Quad& quad, Out* out) {
    if constexpr (sizeof(Out) == 1) {
        const V mask = hn::Set(U32(), 0xFF);
        const V low = hn::Or(hn::And(quad.v[0], mask), hn::ShiftLeft<8>(hn::And(quad.v[1], mask)));
        const V high = hn::Or(hn::And(quad.v[2], mask), hn::ShiftLeft<8>(hn::And(quad.v[3], mask)));
        storeBytes(hn::Or(low, hn::ShiftLeft<16>(high)), out);
    } else if constexpr (sizeof(Out) == 2) {
        const V mask = hn::Set(U32(), 0xFFFF);
        V low;
        V high;
        interleave(hn::Or(hn::And(quad.v[0], mask), hn::ShiftLeft<16>(quad.v[1])),
                   hn::Or(hn::And(quad.v[2], mask), hn::ShiftLeft<16>(quad.v[3])), low, high);
        storeBytes(low, out);
        storeBytes(high, out + samples / 2);
    } else {
        V even[2];
        V odd[2];
        interleave(quad.v[0], quad.v[2], even[0], even[1]);
        interleave(quad.v[1], quad.v[3], odd[0], odd[1]);
        for (std::size_t half = 0; half < 2; ++half) {
            V part[2];
            interleave(even[half], odd[half], part[0], part[1]);
            for (std::size_t i = 0; i < 2; ++i) {
                Out* const to = out + (2 * half + i) * lanes;
                if constexpr (hwy::IsFloat<Out>()) {
                    hn::StoreU(hn::ConvertTo(F32(), hn::BitCast(I32(), part[i])), F32(), to);
                } else {
                    storeBytes(part[i], to);
                }
            }
        }
    }
}

/// The high halves of products.
HWY_INLINE V multiplyHigh(V a, V b) {
    const U64 wide;
    const auto even = hn::MulEven(a, b);
    const auto odd = hn::MulEven(hn::BitCast(U32(), hn::ShiftRight<32>(hn::BitCast(wide, a))), b);
    const auto high = hn::Set(wide, 0xFFFFFFFF00000000ULL);
    return hn::BitCast(U32(), hn::Or(hn::ShiftRight<32>(even), hn::And(odd, high)));
}

/// Toward zero; values are small, so no care is needed for what 32 bits don't hold.
HWY_INLINE V truncate(hn::Vec<F32> value) {
#if HWY_TARGET == HWY_AVX3
    return V{_mm512_cvttps_epi32(value.raw)};
#elif HWY_TARGET == HWY_AVX2
    return V{_mm256_cvttps_epi32(value.raw)};
#else
    return V{_mm_cvttps_epi32(value.raw)};
#endif
}

/// Each lane plus all lanes below it.
HWY_INLINE V scan(V v) {
#if HWY_TARGET == HWY_AVX3
    auto sum = _mm512_add_epi32(v.raw, _mm512_bslli_epi128(v.raw, 4));
    sum = _mm512_add_epi32(sum, _mm512_bslli_epi128(sum, 8));
    // The last lane of each block of four goes to all lanes of the next one, then of the one after that.
    const auto next = _mm512_setr_epi32(0, 0, 0, 0, 3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11);
    sum = _mm512_add_epi32(sum, _mm512_maskz_permutexvar_epi32(0xFFF0, next, sum));
    const auto afterNext = _mm512_setr_epi32(0, 0, 0, 0, 0, 0, 0, 0, 3, 3, 3, 3, 7, 7, 7, 7);
    sum = _mm512_add_epi32(sum, _mm512_maskz_permutexvar_epi32(0xFF00, afterNext, sum));
    return V{sum};
#elif HWY_TARGET == HWY_AVX2
    auto sum = _mm256_add_epi32(v.raw, _mm256_slli_si256(v.raw, 4));
    sum = _mm256_add_epi32(sum, _mm256_slli_si256(sum, 8));
    const auto below = _mm256_permute2x128_si256(sum, sum, 0x08);
    return V{_mm256_add_epi32(sum, _mm256_shuffle_epi32(below, 0xFF))};
#else
    const auto sum = _mm_add_epi32(v.raw, _mm_slli_si128(v.raw, 4));
    return V{_mm_add_epi32(sum, _mm_slli_si128(sum, 8))};
#endif
}

HWY_INLINE V broadcastLast(V v) {
#if HWY_TARGET == HWY_AVX3
    return V{_mm512_permutexvar_epi32(_mm512_set1_epi32(15), v.raw)};
#elif HWY_TARGET == HWY_AVX2
    return V{_mm256_permutevar8x32_epi32(v.raw, _mm256_set1_epi32(7))};
#else
    return V{_mm_shuffle_epi32(v.raw, 0xFF)};
#endif
}

#endif

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
