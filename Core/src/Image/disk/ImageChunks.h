#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <rix/String.h>
#include <rix/image/ChunkStore.h>

namespace rix::io::detail {

class ImageChunks;

/// A chunk of an image, in memory or not.
struct Chunk {
    /// States of `users` below the number of those who use the samples at the moment.
    static constexpr std::int32_t absent = -1;
    static constexpr std::int32_t busy = -2;  ///< somebody reads it, writes it or gives it up

    std::atomic<std::int32_t> users{absent};
    std::atomic<bool> wasUsed{false};         ///< since the cache looked last
    std::atomic<bool> isChanged{false};       ///< since it was read or written
    std::atomic<std::size_t> elementsSet{0};  ///< since it was read or written
    std::atomic<std::size_t> elements{0};     ///< that it has within the image; 0 while nobody has told
    std::unique_ptr<std::uint8_t[]> samples;
    ImageChunks* image = nullptr;
    std::size_t index = 0;
    Chunk* newer = nullptr;  ///< in the queue of the cache, while it is there
    Chunk* older = nullptr;

    /// Makes it busy, where it was in this state: absent, or in memory without a user (0).
    bool take(std::int32_t from) { return users.compare_exchange_strong(from, busy, std::memory_order_acq_rel); }
    /// Leaves a busy chunk to those who wait for it.
    void leave(std::int32_t state) {
        users.store(state, std::memory_order_release);
        users.notify_all();
    }
    /// Whether all rows were written since.
    bool isWhole() const {
        return elementsSet.load(std::memory_order_relaxed) >= elements.load(std::memory_order_relaxed);
    }
};

/// All chunks of an image and the cache that those in memory belong to, which is one for the process.
class ImageChunks {
public:
    /// @param bytes of a chunk
    ImageChunks(std::unique_ptr<ChunkStore> store, std::size_t count, std::size_t bytes);
    ~ImageChunks();
    ImageChunks(const ImageChunks&) = delete;
    ImageChunks& operator=(const ImageChunks&) = delete;

    /// A chunk that stays in memory while this lives.
    class Use {
    public:
        /// @throws Exception when it cannot be read, or was changed by a process that was forked since
        Use(ImageChunks& image, std::size_t index);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        RawData samples() const { return m_chunk.samples.get(); }
        /// Before samples are written: so many elements, of which the chunk has `all` within the image.
        void change(std::size_t elements, std::size_t all);

    private:
        Chunk& m_chunk;
    };

    /// Why a chunk could not be written when the cache gave it up; empty when none failed since the last `flush`.
    String failure() const;
    void flush();
    ChunkStore& store() { return *m_store; }

private:
    friend class ChunkCache;

    void assertIsOfThisProcess() const;
    void write(Chunk& chunk);
    void writeIfChanged(Chunk& chunk);
    void noteFailure(const String& message) noexcept;

    std::unique_ptr<ChunkStore> m_store;
    std::size_t m_bytes;
    unsigned m_generation;  ///< of the process by forks
    std::vector<Chunk> m_chunks;
    String m_failure;  ///< with the lock of the disk cache
    std::atomic<bool> m_hasFailed{false};
};

}  // namespace rix::io::detail
