#include "Image/disk/ImageChunks.h"

#include <chrono>
#include <thread>
#include <utility>

#include <rix/exceptions/Exception.h>

#include "Image/disk/ChunkCache.h"
#include "Process/Forks.h"

namespace rix::io {

ChunkStore::~ChunkStore() = default;

namespace detail {

ImageChunks::ImageChunks(std::unique_ptr<ChunkStore> store, std::size_t count, std::size_t bytes)
    : m_store(std::move(store)), m_bytes(bytes), m_generation(process::generation()), m_chunks(count) {
    for (std::size_t i = 0; i < count; ++i) {
        m_chunks[i].image = this;
        m_chunks[i].index = i;
    }
}

ImageChunks::~ImageChunks() {
    ChunkCache::ofProcess().forget(*this);
}

ImageChunks::Use::Use(ImageChunks& image, std::size_t index) : m_chunk(image.m_chunks[index]) {
    if (image.m_generation != process::generation()) {
        throw InvalidCall("An image on disk belongs to the process that this one was forked from.");
    }
    ChunkCache::ofProcess().acquire(m_chunk);
}

ImageChunks::Use::~Use() {
    m_chunk.users.fetch_sub(1, std::memory_order_release);
}

void ImageChunks::Use::change(std::size_t elements, std::size_t all) {
    m_chunk.elements.store(all, std::memory_order_relaxed);
    m_chunk.elementsSet.fetch_add(elements, std::memory_order_relaxed);
    m_chunk.isChanged.store(true, std::memory_order_relaxed);
}

String ImageChunks::failure() const {
    if (!m_hasFailed.load(std::memory_order_relaxed)) {
        return {};
    }
    const std::lock_guard lock(m_failureMutex);
    return m_failure;
}

void ImageChunks::noteFailure(const String& message) noexcept {
    const std::lock_guard lock(m_failureMutex);
    try {
        m_failure = message;
    } catch (const std::bad_alloc&) {
        m_failure.clear();
    }
    m_hasFailed.store(true, std::memory_order_relaxed);
}

/// By who has made it busy.
void ImageChunks::write(Chunk& chunk) {
    if (m_generation == process::generation()) {  // a forked child must not write what the parent will
        m_store->write(chunk.index, chunk.samples.get());
    }
    chunk.isChanged.store(false, std::memory_order_relaxed);
    chunk.elementsSet.store(0, std::memory_order_relaxed);
}

void ImageChunks::flush() {
    {
        const std::lock_guard lock(m_failureMutex);
        m_failure.clear();
        m_hasFailed.store(false, std::memory_order_relaxed);
    }
    if (m_generation != process::generation()) {
        throw WritingError("An image on disk belongs to the process that this one was forked from.");
    }
    for (Chunk& chunk : m_chunks) {
        for (bool isDone = false; !isDone;) {
            std::int32_t users = 0;
            if (chunk.users.compare_exchange_strong(users, Chunk::busy, std::memory_order_acq_rel)) {
                const auto leave = [&] {
                    chunk.users.store(0, std::memory_order_release);
                    chunk.users.notify_all();
                };
                try {
                    if (chunk.isChanged.load(std::memory_order_relaxed)) {
                        write(chunk);
                    }
                } catch (...) {
                    leave();
                    throw;
                }
                leave();
                isDone = true;
            } else if (users == Chunk::busy) {
                chunk.users.wait(Chunk::busy);
            } else if (users > 0) {
                std::this_thread::sleep_for(std::chrono::microseconds(20));  // for as long as a row is copied
            } else {
                isDone = true;
            }
        }
    }
    if (const String again = failure(); !again.empty()) {
        throw WritingError(again);  // one that was given up meanwhile
    }
}

}  // namespace detail
}  // namespace rix::io
