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
#include <rix/simd/Truncation-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using U32 = hn::ScalableTag<std::uint32_t>;
using I32 = hn::RebindToSigned<U32>;
using U16 = hn::Repartition<std::uint16_t, U32>;
using U8 = hn::Repartition<std::uint8_t, U32>;
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

/// The low and the high half of each lane, and the same with their sign.
HWY_INLINE V low16(V v) {
    return hn::And(v, hn::Set(U32(), 0xFFFF));
}
HWY_INLINE V high16(V v) {
    return hn::ShiftRight<16>(v);
}
HWY_INLINE V signedLow(V v) {
    return hn::BitCast(U32(), hn::ShiftRight<16>(hn::BitCast(I32(), hn::ShiftLeft<16>(v))));
}
HWY_INLINE V signedHigh(V v) {
    return hn::BitCast(U32(), hn::ShiftRight<16>(hn::BitCast(I32(), v)));
}
HWY_INLINE V loadBytes(const void* from) {
    return hn::BitCast(U32(), hn::LoadU(U8(), static_cast<const std::uint8_t*>(from)));
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
    return {{low16(even), high16(even), low16(odd), high16(odd)}};
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
    hn::StoreU(hn::BitCast(U8(), v), U8(), static_cast<std::uint8_t*>(to));
}

/// Values of a signed type keep their low bits; those of an unsigned one have no others.
template <class Out>
HWY_INLINE void storeSamples(const Quad& quad, Out* out) {
    if constexpr (sizeof(Out) == 1) {
        Quad bytes = quad;
        if constexpr (hwy::IsSigned<Out>()) {
            for (V& v : bytes.v) {
                v = hn::And(v, hn::Set(U32(), 0xFF));
            }
        }
        const V low = hn::Or(bytes.v[0], hn::ShiftLeft<8>(bytes.v[1]));
        const V high = hn::Or(bytes.v[2], hn::ShiftLeft<8>(bytes.v[3]));
        storeBytes(hn::Or(low, hn::ShiftLeft<16>(high)), out);
    } else if constexpr (sizeof(Out) == 2) {
        Quad words = quad;
        if constexpr (hwy::IsSigned<Out>()) {
            words.v[0] = low16(words.v[0]);
            words.v[2] = low16(words.v[2]);
        }
        V low;
        V high;
        interleave(hn::Or(words.v[0], hn::ShiftLeft<16>(words.v[1])), hn::Or(words.v[2], hn::ShiftLeft<16>(words.v[3])),
                   low, high);
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
    const V even = hn::BitCast(U32(), hn::MulEven(a, b));
    const V odd = hn::BitCast(U32(), hn::MulEven(hn::DupOdd(a), b));
    return hn::OddEven(odd, hn::DupOdd(even));
}

/// Toward zero; values are small, so no care is needed for what 32 bits don't hold.
HWY_INLINE V truncate(hn::Vec<F32> value) {
    return hn::BitCast(U32(), simd::HWY_NAMESPACE::truncatedVector(I32(), value));
}

/// Each lane plus all lanes below it.
HWY_INLINE V scan(V v) {
#if HWY_TARGET == HWY_AVX3
    auto sum = _mm512_add_epi32(v.raw, _mm512_bslli_epi128(v.raw, 4));
    sum = _mm512_add_epi32(sum, _mm512_bslli_epi128(sum, 8));
    // The last lane of each block of four goes to all lanes of the next one, then of the one after that; 16 gives 0.
    const auto zero = _mm512_setzero_si512();
    const auto next = _mm512_setr_epi32(16, 16, 16, 16, 3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11);
    sum = _mm512_add_epi32(sum, _mm512_permutex2var_epi32(sum, next, zero));
    const auto afterNext = _mm512_setr_epi32(16, 16, 16, 16, 16, 16, 16, 16, 3, 3, 3, 3, 7, 7, 7, 7);
    sum = _mm512_add_epi32(sum, _mm512_permutex2var_epi32(sum, afterNext, zero));
    return V{sum};
#elif HWY_TARGET == HWY_AVX2
    auto sum = _mm256_add_epi32(v.raw, _mm256_slli_si256(v.raw, 4));
    sum = _mm256_add_epi32(sum, _mm256_slli_si256(sum, 8));
    const auto below = _mm256_permute2x128_si256(sum, sum, 0x08);
    return V{_mm256_add_epi32(sum, _mm256_shuffle_epi32(below, 0xFF))};
#else
    const V sum = hn::Add(v, hn::ShiftLeftLanes<1>(v));
    return hn::Add(sum, hn::ShiftLeftLanes<2>(sum));
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

/// The sums over some rows.
template <class T>
HWY_INLINE Quad sumSamples(const T* const* in, std::size_t rows, std::size_t i) {
    Quad sum = loadSamples(in[0] + i);
    for (std::size_t row = 1; row < rows; ++row) {
        const Quad next = loadSamples(in[row] + i);
        for (std::size_t q = 0; q < 4; ++q) {
            sum.v[q] = hn::Add(sum.v[q], next.v[q]);
        }
    }
    return sum;
}
#if HWY_TARGET != HWY_SCALAR
/// 16 bits hold the sums of a group of bytes.
HWY_INLINE Quad sumSamples(const std::uint8_t* const* in, std::size_t rows, std::size_t i) {
    const U16 d;
    auto even = hn::Zero(d);
    auto odd = hn::Zero(d);
    for (std::size_t row = 0; row < rows; ++row) {
        const auto v = hn::BitCast(d, loadBytes(in[row] + i));
        even = hn::Add(even, hn::And(v, hn::Set(d, 0xFF)));
        odd = hn::Add(odd, hn::ShiftRight<8>(v));
    }
    const V first = hn::BitCast(U32(), even);
    const V second = hn::BitCast(U32(), odd);
    return {{low16(first), low16(second), high16(first), high16(second)}};
}
#endif

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
