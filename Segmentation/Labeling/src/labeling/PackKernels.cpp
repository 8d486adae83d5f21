#include "labeling/PackKernels.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "labeling/PackKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

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

static inline std::size_t bitCount(std::uint64_t word) {
#if HWY_TARGET == HWY_SCALAR
    // Without the instruction: sums of neighbouring pairs, nibbles, bytes.
    word -= (word >> 1) & 0x5555555555555555U;
    word = (word & 0x3333333333333333U) + ((word >> 2) & 0x3333333333333333U);
    word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0FU;
    return static_cast<std::size_t>((word * 0x0101010101010101U) >> 56);
#else
    return static_cast<std::size_t>(__builtin_popcountll(word));
#endif
}

std::size_t runs(const std::uint64_t* row, std::size_t words) {
    std::size_t count = 0;
    std::uint64_t before = 0;
    for (std::size_t i = 0; i < words; ++i) {
        const std::uint64_t word = row[i];
        count += bitCount(word & ~(word << 1 | before));
        before = word >> 63;
    }
    return count;
}

std::size_t pairRuns(const std::uint64_t* top, const std::uint64_t* bottom, std::size_t words) {
    std::size_t count = 0;
    std::uint64_t before = 0;
    for (std::size_t i = 0; i < words; ++i) {
        const std::uint64_t word = top[i] | bottom[i];
        count += bitCount(word & ~(word << 1 | before));
        before = word >> 63;
    }
    return count;
}

static inline std::uint64_t obliqueWord(const VisitedRows& visited, std::size_t i) {
    return visited.oblique[0][i] | visited.oblique[1][i] | visited.oblique[2][i] | visited.oblique[3][i];
}

std::size_t openings(const VisitedRows& visited, std::size_t words) {
    std::size_t count = 0;
    std::uint64_t before = 0;  // the last bit of the word before, in the first place
    std::uint64_t obliqueBefore = 0;
    std::uint64_t oblique = words > 0 ? obliqueWord(visited, 0) : 0;
    for (std::size_t i = 0; i < words; ++i) {
        const std::uint64_t word = visited.row[i];
        const std::uint64_t obliqueNext = i + 1 < words ? obliqueWord(visited, i + 1) : 0;
        const std::uint64_t labelled = visited.straight[0][i] | visited.straight[1][i] | visited.straight[2][i] |
                                       oblique | oblique << 1 | obliqueBefore | oblique >> 1 | obliqueNext << 63;
        count += bitCount(word & ~(word << 1 | before) & ~labelled);
        before = word >> 63;
        obliqueBefore = oblique >> 63;
        oblique = obliqueNext;
    }
    return count;
}

template <class T>
PackRow<T> packKernel() {
    return &pack<T>;
}

const CountKernels& counts() {
    static constexpr CountKernels table = {&runs, &pairRuns, &openings};
    return table;
}

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

template <class T>
PackRow<T> packRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, packKernel<T>());
}

template PackRow<std::uint8_t> packRow<std::uint8_t>(OptimLevelType);
template PackRow<std::uint16_t> packRow<std::uint16_t>(OptimLevelType);
template PackRow<std::uint32_t> packRow<std::uint32_t>(OptimLevelType);
template PackRow<std::int8_t> packRow<std::int8_t>(OptimLevelType);
template PackRow<std::int16_t> packRow<std::int16_t>(OptimLevelType);

const CountKernels& countKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, counts());
}

}  // namespace rix::segmentation
#endif
