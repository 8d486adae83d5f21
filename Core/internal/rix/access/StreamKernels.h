#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageTypes.h>

namespace rix::access {

/// Copies bytes to memory past the caches, as far as they fill whole lines there.
using StreamRow = void (*)(RawData to, ConstRawData from, std::size_t bytes);

StreamRow streamRow(OptimLevelType level);

/// Waits until what this thread streamed is visible to others.
void finishStreaming();

/// Bytes of a line of the cache.
inline constexpr std::size_t lineBytes = 64;

/// How many samples of a row lie before its first whole line of the cache. All, where no line begins with a sample:
/// rows of pairs may be aligned for their parts only.
inline std::size_t samplesBeforeLine(const void* row, std::size_t sampleBytes, std::size_t count) {
    const std::size_t misfit = (lineBytes - reinterpret_cast<std::uintptr_t>(row) % lineBytes) % lineBytes;
    return misfit % sampleBytes == 0 && misfit / sampleBytes < count ? misfit / sampleBytes : count;
}

}  // namespace rix::access
