#include "ResolveKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ResolveKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::rank::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

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
        return m_voxels.planes == nullptr ? plane
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

ResolveKernel resolveKernel(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, resolve);
}

}  // namespace rix::filtering::rank
#endif
