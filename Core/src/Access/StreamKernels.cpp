#include <rix/access/StreamKernels.h>

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Access/StreamKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::access::HWY_NAMESPACE {

void streamBytes(RawData to, ConstRawData from, std::size_t bytes) {
    // A line that is written in parts goes to memory in parts.
    const std::size_t head = samplesBeforeLine(to, 1, bytes);
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
