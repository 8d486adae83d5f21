#include "RingKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "RingKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

/// Bytes are counted together until they could overflow; so many columns stay in the first cache meanwhile.
constexpr std::size_t mostOfByte = 255;
constexpr std::size_t columnsAtOnce = 512;

void share(const std::uint8_t* edges, const std::ptrdiff_t* offsets, std::size_t n, float* out, std::size_t count) {
    std::uint8_t few[columnsAtOnce];
    std::uint16_t all[columnsAtOnce];
    const float size = static_cast<float>(n);
    for (std::size_t begin = 0; begin < count; begin += columnsAtOnce) {
        const std::size_t columns = count - begin < columnsAtOnce ? count - begin : columnsAtOnce;
        for (std::size_t x = 0; x < columns; ++x) {
            all[x] = 0;
        }
        for (std::size_t first = 0; first < n; first += mostOfByte) {
            const std::size_t end = n - first < mostOfByte ? n : first + mostOfByte;
            for (std::size_t x = 0; x < columns; ++x) {
                few[x] = 0;
            }
            std::size_t i = first;
            for (; i + 4 <= end; i += 4) {
                const std::uint8_t* const a = edges + begin + offsets[i];
                const std::uint8_t* const b = edges + begin + offsets[i + 1];
                const std::uint8_t* const c = edges + begin + offsets[i + 2];
                const std::uint8_t* const d = edges + begin + offsets[i + 3];
                for (std::size_t x = 0; x < columns; ++x) {
                    few[x] = static_cast<std::uint8_t>(few[x] + a[x] + b[x] + c[x] + d[x]);
                }
            }
            for (; i < end; ++i) {
                const std::uint8_t* const a = edges + begin + offsets[i];
                for (std::size_t x = 0; x < columns; ++x) {
                    few[x] = static_cast<std::uint8_t>(few[x] + a[x]);
                }
            }
            for (std::size_t x = 0; x < columns; ++x) {
                all[x] = static_cast<std::uint16_t>(all[x] + few[x]);
            }
        }
        for (std::size_t x = 0; x < columns; ++x) {
            out[begin + x] = static_cast<float>(all[x]) / size;
        }
    }
}

ShareOfRing kernel() {
    return &share;
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::edge_detection {

ShareOfRing shareOfRing(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernel());
}

}  // namespace rix::edge_detection
#endif
