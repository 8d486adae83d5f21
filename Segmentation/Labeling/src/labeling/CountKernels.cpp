#include "labeling/CountKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "labeling/CountKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

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

const CountKernels& counts() {
    static constexpr CountKernels table = {&runs, &pairRuns, &openings};
    return table;
}

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

const CountKernels& countKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, counts());
}

}  // namespace rix::segmentation
#endif
