#pragma once

#include <cstddef>

/// Memory for samples: image buffers and the scratch of runs.
///
/// The first touch of fresh memory costs more than most operations on it, so big buffers ask the system for huge pages
/// and, when released, wait for the next request of their size instead of going back at once.
namespace rix::buffer {

/// Smaller requests are aligned to this: a cache line and the widest vector.
inline constexpr std::size_t smallAlignment = 64;
/// From this size on a buffer is big: aligned to it, a multiple of it long.
inline constexpr std::size_t hugePageSize = std::size_t{2} << 20;
/// Most bytes that wait for reuse in the whole process.
inline constexpr std::size_t recycledLimit = std::size_t{256} << 20;

/// Uninitialised memory; null for 0 bytes. Safe from any thread. @throws std::bad_alloc
[[nodiscard]] void* allocate(std::size_t bytes);

/// Gives memory of `allocate` back. Safe from any thread.
/// @param bytes the number that was requested
void release(void* address, std::size_t bytes) noexcept;

/// Bytes that wait for reuse at the moment; never above `recycledLimit`.
std::size_t recycledBytes() noexcept;
/// Gives all that waits for reuse back to the system.
void releaseRecycled() noexcept;

}  // namespace rix::buffer
