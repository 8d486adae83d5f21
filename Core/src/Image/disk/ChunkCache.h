#pragma once

#include <cstddef>
#include <mutex>

#include "Image/disk/ImageChunks.h"

namespace rix::io::detail {

/// The chunks of all disk images that are in memory, and which of them goes when there are too many: a clock, whose
/// hand passes over what was used since its last round.
class ChunkCache {
public:
    constexpr ChunkCache() = default;
    ChunkCache(const ChunkCache&) = delete;
    ChunkCache& operator=(const ChunkCache&) = delete;

    static ChunkCache& ofProcess() noexcept;

    /// Takes a use of the chunk, which is read first where it is not in memory.
    void acquire(Chunk& chunk);
    /// Removes all chunks of an image, which nobody uses any more, unwritten.
    void forget(ImageChunks& image) noexcept;

private:
    void load(Chunk& chunk);
    /// Gives up chunks until there is room, as far as there are any that nobody uses.
    void makeRoom(std::unique_lock<std::mutex>& lock, std::size_t bytes, std::size_t budget);
    /// A chunk to give up, made busy; null when there is none.
    Chunk* takeVictim();
    void add(Chunk& chunk) noexcept;
    void remove(Chunk& chunk) noexcept;
    bool holds(const Chunk& chunk) const { return chunk.older != nullptr || &chunk == m_oldest; }

    // With the lock of the disk cache.
    Chunk* m_oldest = nullptr;
    Chunk* m_newest = nullptr;
    std::size_t m_count = 0;
    std::size_t m_bytes = 0;
};

}  // namespace rix::io::detail
