#include "PackedKernels.h"

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "elements/PackedKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::morphology::HWY_NAMESPACE {

void both(Bits a, Bits b, std::uint64_t* out, std::size_t words) {
    const unsigned restOfA = 63 - a.shift;
    const unsigned restOfB = 63 - b.shift;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < words; ++i) {
        // In two steps, because a shift by 64 is none.
        const std::uint64_t first = a.words[i] >> a.shift | a.words[i + 1] << 1 << restOfA;
        const std::uint64_t second = b.words[i] >> b.shift | b.words[i + 1] << 1 << restOfB;
        out[i] = first & second;
    }
}

void restrictTo(const std::uint64_t* const* rows, std::size_t rowCount, std::uint64_t* out, std::size_t words) {
    for (std::size_t row = 0; row < rowCount; row += 2) {
        const std::uint64_t* const a = rows[row];
        const std::uint64_t* const b = rows[row + 1 < rowCount ? row + 1 : row];
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = 0; i < words; ++i) {
            out[i] &= a[i] & b[i];
        }
    }
}

void all(const std::array<const std::uint64_t*, 4>& rows, std::uint64_t* out, std::size_t words) {
    const std::uint64_t* const* const row = rows.data();
    const std::uint64_t* const a = row[0];
    const std::uint64_t* const b = row[1];
    const std::uint64_t* const c = row[2];
    const std::uint64_t* const d = row[3];
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < words; ++i) {
        out[i] = a[i] & b[i] & c[i] & d[i];
    }
}

const PackedKernels& packedTable() {
    static constexpr PackedKernels table = {&both, &restrictTo, &all};
    return table;
}

}  // namespace rix::morphology::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::morphology {

const PackedKernels& packedKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, packedTable());
}

}  // namespace rix::morphology
#endif
