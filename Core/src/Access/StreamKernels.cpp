#include <rix/access/StreamKernels.h>

#include <cstdint>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Access/StreamKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::access::HWY_NAMESPACE {

/// The wider the stores, the more of them are under way: one to a line takes a third less time than four.
inline void streamLine(RawData to, ConstRawData from) {
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
    const hwy::HWY_NAMESPACE::ScalableTag<std::uint8_t> d;
    for (std::size_t part = 0; part < lineBytes; part += Lanes(d)) {
        Stream(LoadU(d, from + part), d, to + part);
    }
#elif defined(__SSE2__)
    for (std::size_t part = 0; part < lineBytes; part += sizeof(__m128i)) {
        const __m128i data = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + part));
        _mm_stream_si128(reinterpret_cast<__m128i*>(to + part), data);
    }
#else
    std::memcpy(to, from, lineBytes);
#endif
}

void streamBytes(RawData to, ConstRawData from, std::size_t bytes) {
    // A line that is written in parts goes to memory in parts.
    const std::size_t misfit = (lineBytes - reinterpret_cast<std::uintptr_t>(to) % lineBytes) % lineBytes;
    const std::size_t head = misfit < bytes ? misfit : bytes;
    std::memcpy(to, from, head);
    std::size_t i = head;
    for (; i + lineBytes <= bytes; i += lineBytes) {
        streamLine(to + i, from + i);
    }
    std::memcpy(to + i, from + i, bytes - i);
}

StreamRow row() {
    return &streamBytes;
}

}  // namespace rix::access::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::access {

StreamRow streamRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, row());
}

void finishStreaming() {
    hwy::FlushStream();
}

}  // namespace rix::access
#endif
