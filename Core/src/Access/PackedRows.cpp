#include <rix/access/PackedRows.h>

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Access/PackedRows.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::access::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// 64 samples become one word.
#if HWY_TARGET == HWY_SCALAR
template <class T>
std::uint64_t packWord(const T* in) {
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < 64; ++i) {
        word |= static_cast<std::uint64_t>(in[i] != 0) << i;
    }
    return word;
}

template <>
std::uint64_t packWord<std::uint8_t>(const std::uint8_t* in) {
    constexpr std::uint64_t low7 = 0x7F7F7F7F7F7F7F7FU;
    std::uint64_t word = 0;
    for (unsigned i = 0; i < 8; ++i) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, in + 8 * i, 8);
        const std::uint64_t set = ((((bytes & low7) + low7) | bytes) >> 7) & 0x0101010101010101U;
        word |= ((set * 0x0102040810204080U) >> 56) << (8 * i);  // the eight bits gather in the top byte
    }
    return word;
}
#else
template <class T>
std::uint64_t packWord(const T* in) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    const auto zero = hn::Zero(d);
    std::uint64_t word = 0;
    if (lanes >= 8) {
        std::uint8_t bytes[8];
        for (std::size_t i = 0; i < 64; i += lanes) {
            hn::StoreMaskBits(d, hn::Ne(hn::LoadU(d, in + i), zero), bytes + i / 8);
        }
        std::memcpy(&word, bytes, 8);
    } else {
        for (std::size_t i = 0; i < 64; i += lanes) {
            std::uint8_t bits[8];
            hn::StoreMaskBits(d, hn::Ne(hn::LoadU(d, in + i), zero), bits);
            word |= static_cast<std::uint64_t>(bits[0]) << i;
        }
    }
    return word;
}
#endif

template <class T>
void pack(const T* in, std::size_t count, std::uint64_t* words) {
    const std::size_t full = count / 64;
    for (std::size_t i = 0; i < full; ++i) {
        words[i] = packWord(in + 64 * i);
    }
    if (count % 64 != 0) {
        T rest[64] = {};
        std::memcpy(rest, in + 64 * full, (count % 64) * sizeof(T));
        words[full] = packWord(rest);
    }
}

#if HWY_TARGET == HWY_SCALAR
void unpackWord(std::uint64_t word, std::uint8_t* out) {
    for (unsigned i = 0; i < 8; ++i) {
        // Each byte keeps its own bit of the eight; then whatever is not 0 becomes 1.
        const std::uint64_t own = ((word >> (8 * i) & 0xFFU) * 0x0101010101010101U) & 0x8040201008040201U;
        const std::uint64_t samples = ((own + 0x7F7F7F7F7F7F7F7FU) >> 7) & 0x0101010101010101U;
        std::memcpy(out + 8 * i, &samples, 8);
    }
}
#else
void unpackWord(std::uint64_t word, std::uint8_t* out) {
    const hn::ScalableTag<std::uint8_t> d;
    const std::size_t lanes = hn::Lanes(d);
    std::uint8_t bytes[16] = {};  // some targets load more than a vector's bits
    std::memcpy(bytes, &word, 8);
    const auto one = hn::Set(d, std::uint8_t{1});
    for (std::size_t i = 0; i < 64; i += lanes) {
        hn::StoreU(hn::IfThenElseZero(hn::LoadMaskBits(d, bytes + i / 8), one), d, out + i);
    }
}
#endif

void unpack(const std::uint64_t* words, std::size_t count, std::uint8_t* out) {
    const std::size_t full = count / 64;
    for (std::size_t i = 0; i < full; ++i) {
        unpackWord(words[i], out + 64 * i);
    }
    if (count % 64 != 0) {
        std::uint8_t rest[64];
        unpackWord(words[full], rest);
        std::memcpy(out + 64 * full, rest, count % 64);
    }
}

template <class T>
PackRow<T> packKernel() {
    return &pack<T>;
}

UnpackRow unpackKernel() {
    return &unpack;
}

}  // namespace rix::access::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::access {

template <class T>
PackRow<T> packRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, packKernel<T>());
}

template PackRow<std::uint8_t> packRow<std::uint8_t>(OptimLevelType);
template PackRow<std::uint16_t> packRow<std::uint16_t>(OptimLevelType);
template PackRow<std::uint32_t> packRow<std::uint32_t>(OptimLevelType);
template PackRow<std::int8_t> packRow<std::int8_t>(OptimLevelType);
template PackRow<std::int16_t> packRow<std::int16_t>(OptimLevelType);

UnpackRow unpackRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, unpackKernel());
}

}  // namespace rix::access
#endif
