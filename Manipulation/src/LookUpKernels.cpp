#include "LookUpKernels.h"

#include <bit>
#include <cstdint>

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "LookUpKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::manipulation::HWY_NAMESPACE {

template <class Sample, class Entry>
void lookUp(const void* in, const void* table, void* out, std::size_t count) {
    const auto* const from = static_cast<const Sample*>(in);
    const auto* const entries = static_cast<const Entry*>(table);
    auto* const to = static_cast<Entry*>(out);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = entries[from[i]];
    }
}

#if HWY_TARGET <= HWY_AVX2
/// The table as sixteen parts of sixteen bytes that are permuted. An index that is not of a part gets its highest bit
/// set, for which the permutation gives 0. With vectors of 16 bytes that is no faster than reading the table.
void lookUpBytes(const void* in, const void* table, void* out, std::size_t count) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<std::uint8_t> d;
    const auto* const from = static_cast<const std::uint8_t*>(in);
    const auto* const entries = static_cast<const std::uint8_t*>(table);
    auto* const to = static_cast<std::uint8_t*>(out);
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<decltype(d)> parts[16];
    HWY_UNROLL(16)
    for (std::size_t part = 0; part < 16; ++part) {
        parts[part] = hn::LoadDup128(d, entries + 16 * part);
    }
    const auto beyond = hn::Set(d, std::uint8_t{0x70});
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto index = hn::LoadU(d, from + i);
        auto found = hn::Zero(d);
        HWY_UNROLL(16)
        for (std::size_t part = 0; part < 16; ++part) {
            const auto inPart = hn::Xor(index, hn::Set(d, static_cast<std::uint8_t>(part << 4)));
            found = hn::Or(found, hn::TableLookupBytesOr0(parts[part], hn::SaturatedAdd(inPart, beyond)));
        }
        hn::StoreU(found, d, to + i);
    }
    lookUp<std::uint8_t, std::uint8_t>(from + i, table, to + i, count - i);
}
#endif

/// By the logarithms of the two widths.
LookUpRow row(std::size_t sampleShift, std::size_t entryShift) {
    static constexpr LookUpRow rows[2][4] = {
#if HWY_TARGET <= HWY_AVX2
        {&lookUpBytes, &lookUp<std::uint8_t, std::uint16_t>, &lookUp<std::uint8_t, std::uint32_t>,
         &lookUp<std::uint8_t, std::uint64_t>},
#else
        {&lookUp<std::uint8_t, std::uint8_t>, &lookUp<std::uint8_t, std::uint16_t>,
         &lookUp<std::uint8_t, std::uint32_t>, &lookUp<std::uint8_t, std::uint64_t>},
#endif
        {&lookUp<std::uint16_t, std::uint8_t>, &lookUp<std::uint16_t, std::uint16_t>,
         &lookUp<std::uint16_t, std::uint32_t>, &lookUp<std::uint16_t, std::uint64_t>},
    };
    return rows[sampleShift][entryShift];
}

}  // namespace rix::manipulation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::manipulation {

LookUpRow lookUpRow(std::size_t sampleBytes, std::size_t entryBytes, OptimLevelType level) {
    const auto sampleShift = static_cast<std::size_t>(std::countr_zero(sampleBytes));
    const auto entryShift = static_cast<std::size_t>(std::countr_zero(entryBytes));
    return RIX_SELECT_KERNELS(level, row(sampleShift, entryShift));
}

}  // namespace rix::manipulation
#endif
