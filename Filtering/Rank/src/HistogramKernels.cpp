#include "HistogramKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "HistogramKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::rank::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The vectors that the counts of a group are made of.
template <class Count>
struct Group {
    using D = hn::CappedTag<Count, groupClasses>;
    static constexpr std::size_t lanes = HWY_MIN(HWY_LANES(Count), groupClasses);
};

template <class Count>
HWY_INLINE void add(const Count* HWY_RESTRICT in, const Count* HWY_RESTRICT out, Count* to) {
    const typename Group<Count>::D d;
    for (std::size_t i = 0; i < groupClasses; i += Group<Count>::lanes) {
        hn::Store(hn::Add(hn::Load(d, to + i), hn::Sub(hn::Load(d, in + i), hn::Load(d, out + i))), d, to + i);
    }
}

template <class Count>
HWY_INLINE void add(const Count* HWY_RESTRICT in, Count* to) {
    const typename Group<Count>::D d;
    for (std::size_t i = 0; i < groupClasses; i += Group<Count>::lanes) {
        hn::Store(hn::Add(hn::Load(d, to + i), hn::Load(d, in + i)), d, to + i);
    }
}

template <class Count>
HWY_INLINE void subtract(const Count* HWY_RESTRICT in, Count* to) {
    const typename Group<Count>::D d;
    for (std::size_t i = 0; i < groupClasses; i += Group<Count>::lanes) {
        hn::Store(hn::Sub(hn::Load(d, to + i), hn::Load(d, in + i)), d, to + i);
    }
}

/// The group's first sum above `index`.
template <class Count>
HWY_INLINE std::size_t firstAbove(const Count* sums, Count index) {
    const typename Group<Count>::D d;
    const auto above = hn::Set(d, static_cast<Count>(index + 1));
    std::size_t below = 0;
    for (std::size_t i = 0; i < groupClasses; i += Group<Count>::lanes) {
        below += hn::CountTrue(d, hn::Lt(hn::Load(d, sums + i), above));
    }
    return below;
}

/// What a voxel of a class adds to the sums of its group.
template <class Count>
struct Steps {
    Steps() {
        for (std::size_t c = 0; c < groupClasses; ++c) {
            for (std::size_t i = 0; i < groupClasses; ++i) {
                of[c][i] = i >= c ? 1 : 0;
            }
        }
    }
    HWY_ALIGN Count of[groupClasses][groupClasses];
};

template <class Count, bool leaves, bool masked>
void stepColumns(const ColumnStep& step, Count* columns, std::size_t width) {
    const Steps<Count> steps;
    for (std::size_t x = 0; x < width; ++x) {
        Count* const column = columns + x * columnCounts;
        Count* const groups = column + groupClasses;
        const bool enters = !masked || step.enterMask[x] != 0;
        const std::size_t in = step.enter[x];
        if constexpr (leaves && !masked) {
            const std::size_t out = step.leave[x];
            add(steps.of[in / groupClasses], steps.of[out / groupClasses], column);
            add(steps.of[in % groupClasses], groups + in / groupClasses * groupClasses);
            subtract(steps.of[out % groupClasses], groups + out / groupClasses * groupClasses);
            continue;
        }
        if (enters) {
            add(steps.of[in / groupClasses], column);
            add(steps.of[in % groupClasses], groups + in / groupClasses * groupClasses);
        }
        if constexpr (leaves && masked) {
            const std::size_t out = step.leave[x];
            if (step.leaveMask[x] != 0) {
                subtract(steps.of[out / groupClasses], column);
                subtract(steps.of[out % groupClasses], groups + out / groupClasses * groupClasses);
            }
        }
    }
}

template <class Count>
void stepAll(const ColumnStep& step, Count* columns, std::size_t width) {
    if (step.enterMask != nullptr) {
        step.leave != nullptr ? stepColumns<Count, true, true>(step, columns, width)
                              : stepColumns<Count, false, true>(step, columns, width);
    } else {
        step.leave != nullptr ? stepColumns<Count, true, false>(step, columns, width)
                              : stepColumns<Count, false, false>(step, columns, width);
    }
}

/// The sums of the groups follow the window; those of the classes of a group are brought up to date when they are
/// asked.
template <class Count, bool masked>
void findColumns(const Count* columns, std::size_t window, std::size_t count, const Wanted& wanted,
                 const Found& found) {
    constexpr std::size_t never = ~std::size_t{0};
    HWY_ALIGN Count sums[columnCounts] = {};
    Count* const groups = sums + groupClasses;
    std::size_t upTo[groupClasses];
    for (std::size_t& each : upTo) {
        each = never;
    }
    for (std::size_t i = 0; i + 1 < window; ++i) {
        add(columns + i * columnCounts, sums);
    }
    Count index = static_cast<Count>(wanted.index);
    for (std::size_t x = 0; x < count; ++x) {
        const Count* const next = columns + (x + window - 1) * columnCounts;
        if (x == 0) {
            add(next, sums);
        } else {
            add(next, columns + (x - 1) * columnCounts, sums);
        }
        if constexpr (masked) {
            const Count n = sums[groupClasses - 1];
            if (n == 0) {
                found.classes[x] = 0;
                found.before[x] = Found::nothing;
                continue;
            }
            index = static_cast<Count>(wanted.rank * static_cast<double>(n - 1) + 1e-9);
        }
        const std::size_t g = firstAbove(sums, index);
        const Count left = static_cast<Count>(index - (g > 0 ? sums[g - 1] : 0));
        Count* const group = groups + g * groupClasses;
        const std::size_t at = (g + 1) * groupClasses;
        if (upTo[g] == never || 2 * (x - upTo[g]) > window) {
            for (std::size_t i = 0; i < groupClasses; ++i) {
                group[i] = 0;
            }
            for (std::size_t i = x; i < x + window; ++i) {
                add(columns + i * columnCounts + at, group);
            }
        } else {
            for (std::size_t i = upTo[g]; i < x; ++i) {
                add(columns + (i + window) * columnCounts + at, columns + i * columnCounts + at, group);
            }
        }
        upTo[g] = x;
        const std::size_t c = firstAbove(group, left);
        found.classes[x] = static_cast<std::uint8_t>(g * groupClasses + c);
        found.before[x] = static_cast<std::uint32_t>(left - (c > 0 ? group[c - 1] : 0));
    }
}

template <class Count>
void findAll(const Count* columns, std::size_t window, std::size_t count, const Wanted& wanted, const Found& found) {
    wanted.masked ? findColumns<Count, true>(columns, window, count, wanted, found)
                  : findColumns<Count, false>(columns, window, count, wanted, found);
}

template <class Count>
HistogramKernels<Count> kernels() {
    return {&stepAll<Count>, &findAll<Count>};
}

}  // namespace rix::filtering::rank::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::rank {

template <class Count>
HistogramKernels<Count> histogramKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<Count>());
}

template HistogramKernels<std::int16_t> histogramKernels<std::int16_t>(OptimLevelType);
template HistogramKernels<std::int32_t> histogramKernels<std::int32_t>(OptimLevelType);

}  // namespace rix::filtering::rank
#endif
