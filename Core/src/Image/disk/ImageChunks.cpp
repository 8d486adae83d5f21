#include "Image/disk/ImageChunks.h"

#include <chrono>
#include <mutex>
#include <new>
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
    image.assertIsOfThisProcess();
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
    const std::lock_guard lock(process::mutexOf(process::Lock::DiskCache));
    return m_failure;
}

void ImageChunks::noteFailure(const String& message) noexcept {
    const std::lock_guard lock(process::mutexOf(process::Lock::DiskCache));
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

void ImageChunks::writeIfChanged(Chunk& chunk) {
    while (!chunk.take(0)) {
        const std::int32_t users = chunk.users.load(std::memory_order_acquire);
        if (users == Chunk::absent) {
            return;
        }
        if (users == Chunk::busy) {
            chunk.users.wait(Chunk::busy);
        } else {
            std::this_thread::sleep_for(std::chrono::microseconds(20));  // for as long as a row is copied
        }
    }
    try {
        if (chunk.isChanged.load(std::memory_order_relaxed)) {
            write(chunk);
        }
    } catch (...) {
        chunk.leave(0);
        throw;
    }
    chunk.leave(0);
}

void ImageChunks::flush() {
    assertIsOfThisProcess();
    {
        const std::lock_guard lock(process::mutexOf(process::Lock::DiskCache));
        m_failure.clear();
        m_hasFailed.store(false, std::memory_order_relaxed);
    }
    try {
        for (Chunk& chunk : m_chunks) {
            writeIfChanged(chunk);
        }
    } catch (const std::exception& failure) {
        noteFailure(failure.what());  // no further row is taken that could not be kept either
        throw;
    }
    if (const String again = failure(); !again.empty()) {
        throw WritingError(again);  // one that was given up meanwhile
    }
}

void ImageChunks::assertIsOfThisProcess() const {
    if (m_generation != process::generation()) {
        throw WritingError("An image on disk belongs to the process that this one was forked from.");
    }
}

}  // namespace detail
}  // namespace rix::io
