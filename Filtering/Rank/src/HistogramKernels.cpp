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

/// Tells which of the voxels from i on lie in the window that begins at a place. Works on 16 bits, where differences
/// wrap around: what lies before the window is far behind it.
class InBox {
public:
    using D = hn::ScalableTag<std::uint16_t>;
    InBox(const RankedVoxels& voxels, const RowWindows& windows) : m_voxels(voxels), m_windows(windows) {}
    HWY_INLINE hn::Mask<D> operator()(std::size_t i, std::size_t x) const {
        const D d;
        const auto within = [&](const std::uint16_t* at, std::size_t first, std::size_t extent) HWY_ATTR {
            return hn::Lt(hn::Sub(hn::LoadU(d, at + i), hn::Set(d, static_cast<std::uint16_t>(first))),
                          hn::Set(d, static_cast<std::uint16_t>(extent)));
        };
        const auto plane = hn::And(within(m_voxels.columns, x, m_windows.columns),
                                   within(m_voxels.rows, m_windows.row, m_windows.rows));
        return m_windows.planes == 1 && m_windows.plane == 0 && m_voxels.planes == nullptr
                   ? plane
                   : hn::And(plane, within(m_voxels.planes, m_windows.plane, m_windows.planes));
    }

private:
    const RankedVoxels& m_voxels;
    const RowWindows& m_windows;
};

/// The same for discs and balls, on 32 bits.
class InBall {
public:
    using D = hn::ScalableTag<std::int32_t>;
    InBall(const RankedVoxels& voxels, const RowWindows& windows)
        : m_voxels(voxels),
          m_row(windows.row + windows.radius),
          m_plane(windows.plane + (windows.planes > 1 ? windows.radius : 0)),
          m_radius(windows.radius) {}
    HWY_INLINE hn::Mask<D> operator()(std::size_t i, std::size_t x) const {
        const D d;
        const hn::Rebind<std::uint16_t, D> half;
        const auto square = [&](const std::uint16_t* at, std::size_t middle) HWY_ATTR {
            const auto distance =
                hn::Sub(hn::PromoteTo(d, hn::LoadU(half, at + i)), hn::Set(d, static_cast<std::int32_t>(middle)));
            return hn::Mul(distance, distance);
        };
        auto sum = hn::Add(square(m_voxels.columns, x + m_radius), square(m_voxels.rows, m_row));
        if (m_voxels.planes != nullptr) {
            sum = hn::Add(sum, square(m_voxels.planes, m_plane));
        }
        return hn::Lt(sum, hn::Set(d, static_cast<std::int32_t>(m_radius * m_radius + 1)));
    }

private:
    const RankedVoxels& m_voxels;
    std::size_t m_row;
    std::size_t m_plane;
    std::size_t m_radius;
};

/// The voxels of a class come in ascending order: of those in the window the one with so many before it.
template <class Within>
HWY_INLINE std::size_t placeOf(const Within& isWithin, std::size_t first, std::size_t x, std::size_t before) {
    using D = typename Within::D;
    const D d;
    for (std::size_t i = first;; i += hn::Lanes(d)) {
        const auto mask = isWithin(i, x);
        const std::size_t n = hn::CountTrue(d, mask);
        if (n <= before) {
            before -= n;
            continue;
        }
        std::uint8_t bytes[8] = {};
        hn::StoreMaskBits(d, mask, bytes);
        std::uint64_t bits = 0;
        for (std::size_t b = 0; b < 8; ++b) {
            bits |= static_cast<std::uint64_t>(bytes[b]) << (8 * b);
        }
        for (; before > 0; --before) {
            bits &= bits - 1;
        }
        return i + static_cast<std::size_t>(__builtin_ctzll(bits));
    }
}

template <class Within>
void resolveWith(const RankedVoxels& voxels, const RowWindows& windows, std::size_t count, const Found& found,
                 std::uint32_t* places) {
    const Within isWithin(voxels, windows);
    for (std::size_t x = 0; x < count; ++x) {
        const std::uint32_t before = found.before[x];
        places[x] = before == Found::nothing
                        ? Found::nothing
                        : static_cast<std::uint32_t>(placeOf(isWithin, found.classes[x] * voxels.classSize, x, before));
    }
}

void resolve(const RankedVoxels& voxels, const RowWindows& windows, std::size_t count, const Found& found,
             std::uint32_t* places) {
    windows.isRound ? resolveWith<InBall>(voxels, windows, count, found, places)
                    : resolveWith<InBox>(voxels, windows, count, found, places);
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

ResolveKernel resolveKernel(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, resolve);
}

namespace {

template <bool masked>
void moveAlong(const std::uint8_t* row, const std::uint8_t* mask, const ChordTable& chords, std::size_t count,
               const Wanted& wanted, const Found& found) {
    std::uint32_t groups[groupClasses] = {};
    std::uint32_t all[classes] = {};
    std::uint32_t n = 0;
    const auto change = [&](std::ptrdiff_t at, std::uint32_t by) {
        if (!masked || mask[at] != 0) {
            const std::size_t c = row[at];
            groups[c / groupClasses] += by;
            all[c] += by;
            n += by;
        }
    };
    for (std::size_t i = 0; i < chords.count; ++i) {
        for (std::ptrdiff_t at = chords.begin[i]; at < chords.end[i]; ++at) {
            change(at, 1);
        }
    }
    for (std::size_t x = 0; x < count; ++x) {
        if (x > 0) {
            const auto before = static_cast<std::ptrdiff_t>(x) - 1;
            for (std::size_t i = 0; i < chords.count; ++i) {
                change(chords.end[i] + before, 1);
                change(chords.begin[i] + before, ~std::uint32_t{0});
            }
        }
        if (n == 0) {
            found.classes[x] = 0;
            found.before[x] = Found::nothing;
            continue;
        }
        auto left = static_cast<std::uint32_t>(
            masked ? static_cast<std::size_t>(wanted.rank * static_cast<double>(n - 1) + 1e-9) : wanted.index);
        std::size_t g = 0;
        for (; left >= groups[g]; ++g) {
            left -= groups[g];
        }
        std::size_t c = g * groupClasses;
        for (; left >= all[c]; ++c) {
            left -= all[c];
        }
        found.classes[x] = static_cast<std::uint8_t>(c);
        found.before[x] = left;
    }
}

}  // namespace

void findInChords(const std::uint8_t* row, const std::uint8_t* mask, const ChordTable& chords, std::size_t count,
                  const Wanted& wanted, const Found& found) {
    mask != nullptr ? moveAlong<true>(row, mask, chords, count, wanted, found)
                    : moveAlong<false>(row, mask, chords, count, wanted, found);
}

}  // namespace rix::filtering::rank
#endif
