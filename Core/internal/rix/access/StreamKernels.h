#pragma once

#include <cstddef>

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

}  // namespace rix::access
