#include "RunKernels.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gathering/RunKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::individual_analysis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// What is known of the run that reaches to the present position, and those before it.
struct OpenRun {
    Run* runs;
    std::size_t count;
    std::uint32_t begin;
    std::uint32_t label;

    // The run is written in any case and counted when it is no background: no branch that depends on the picture.
    HWY_INLINE void closeAt(std::size_t position, std::uint32_t next) {
        runs[count].begin = begin;
        runs[count].end = static_cast<std::uint32_t>(position);
        runs[count].label = label;
        count += label != 0 ? 1 : 0;
        begin = static_cast<std::uint32_t>(position);
        label = next;
    }
};

/// One bit for each of the first lanes that differ.
template <class D, class M>
HWY_INLINE std::uint64_t bitsOf(D d, M mask) {
    std::uint64_t bits = 0;
    std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(d, mask, bytes);
    __builtin_memcpy(&bits, bytes, sizeof(bits));
    const std::size_t lanes = hn::Lanes(d);
    return lanes >= 64 ? bits : bits & ((std::uint64_t{1} << lanes) - 1);
}

template <class Label>
std::size_t findRunsOfRow(const Label* row, std::size_t count, Run* runs) {
    if (count == 0) {
        return 0;
    }
    const hn::ScalableTag<Label> d;
    const std::size_t lanes = hn::Lanes(d);
    OpenRun open{runs, 0, 0, row[0]};
    std::size_t x = 1;
    const auto changes = [&](std::size_t at) { return hn::Ne(hn::LoadU(d, row + at), hn::LoadU(d, row + at - 1)); };
    const auto close = [&](std::size_t at, std::uint64_t bits) {
        while (bits != 0) {
            const std::size_t position = at + static_cast<std::size_t>(__builtin_ctzll(bits));
            bits &= bits - 1;
            open.closeAt(position, row[position]);
        }
    };
    // Long runs are the rule: four vectors without a change are passed with one branch.
    // The processor's own prefetch stops at the ends of pages, and so little is done with each value that its reading
    // is all there is to wait for: asking ahead halves the time.
    constexpr std::size_t lineValues = 64 / sizeof(Label);
    for (; x + 4 * lanes <= count; x += 4 * lanes) {
        for (std::size_t at = 0; at < 4 * lanes; at += lineValues) {
            hwy::Prefetch(row + x + 32 * lineValues + at);
        }
        const auto first = changes(x);
        const auto second = changes(x + lanes);
        const auto third = changes(x + 2 * lanes);
        const auto fourth = changes(x + 3 * lanes);
        if (!hn::AllFalse(d, hn::Or(hn::Or(first, second), hn::Or(third, fourth)))) {
            // One loop over all changes where they fit one word: its end is guessed wrong once, not four times.
            const std::uint64_t bits[4] = {bitsOf(d, first), bitsOf(d, second), bitsOf(d, third), bitsOf(d, fourth)};
            if constexpr (4 * hn::MaxLanes(d) <= 64) {
                close(x, bits[0] | bits[1] << lanes | bits[2] << (2 * lanes) | bits[3] << (3 * lanes));
            } else if constexpr (2 * hn::MaxLanes(d) <= 64) {
                close(x, bits[0] | bits[1] << lanes);
                close(x + 2 * lanes, bits[2] | bits[3] << lanes);
            } else {
                for (std::size_t i = 0; i < 4; ++i) {
                    close(x + i * lanes, bits[i]);
                }
            }
        }
    }
    for (; x + lanes <= count; x += lanes) {
        const auto mask = changes(x);
        if (!hn::AllFalse(d, mask)) {
            close(x, bitsOf(d, mask));
        }
    }
    for (; x < count; ++x) {
        if (row[x] != row[x - 1]) {
            open.closeAt(x, row[x]);
        }
    }
    // The last run may be the one that fills the last place of the array: nothing is written past it.
    if (open.label != 0) {
        open.closeAt(count, 0);
    }
    return open.count;
}

}  // namespace rix::individual_analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::individual_analysis {

template <class Label>
FindRuns<Label> findRuns(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, findRunsOfRow<Label>);
}

template FindRuns<std::uint8_t> findRuns<std::uint8_t>(OptimLevelType);
template FindRuns<std::uint16_t> findRuns<std::uint16_t>(OptimLevelType);
template FindRuns<std::uint32_t> findRuns<std::uint32_t>(OptimLevelType);

}  // namespace rix::individual_analysis
#endif
