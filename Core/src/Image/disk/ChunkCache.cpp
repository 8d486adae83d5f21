#include "Image/disk/ChunkCache.h"

#include <cstring>
#include <new>

#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/settings/Settings.h>

#include "Process/Forks.h"

namespace rix::io::detail {

namespace {

constexpr const char* sizeKey = "RIX_DISK_CACHE_SIZE";

std::size_t currentBudget() {
    constexpr std::size_t whereUnknown = std::size_t{1} << 30;
    const std::size_t memory = devices::Cpu::memory();
    return globalSettings().getValueAsSize_t(sizeKey, memory != 0 ? memory / 4 : whereUnknown);
}

/// Images may outlive static objects.
union Undestroyed {
    constexpr Undestroyed() : cache{} {}
    ~Undestroyed() {}
    ChunkCache cache;
};
constinit Undestroyed undestroyed;

bool tryToUse(Chunk& chunk) {
    std::int32_t users = chunk.users.load(std::memory_order_acquire);
    while (users >= 0) {
        if (chunk.users.compare_exchange_weak(users, users + 1, std::memory_order_acq_rel)) {
            chunk.wasUsed.store(true, std::memory_order_relaxed);
            return true;
        }
    }
    return false;
}

}  // namespace

ChunkCache& ChunkCache::ofProcess() noexcept {
    return undestroyed.cache;
}

void ChunkCache::acquire(Chunk& chunk) {
    while (!tryToUse(chunk)) {
        if (chunk.take(Chunk::absent)) {
            load(chunk);
            return;
        }
        chunk.users.wait(Chunk::busy);
    }
}

void ChunkCache::load(Chunk& chunk) {
    ImageChunks& image = *chunk.image;
    const std::size_t bytes = image.m_bytes;
    const std::size_t budget = currentBudget();
    bool isCounted = false;
    try {
        {
            std::unique_lock lock(process::mutexOf(process::Lock::DiskCache));
            makeRoom(lock, bytes, budget);
            m_bytes += bytes;
            isCounted = true;
        }
        chunk.samples.reset(new (std::nothrow) std::uint8_t[bytes]);
        if (chunk.samples == nullptr) {
            MemoryError error("There is no memory for a chunk of " + std::to_string(bytes) + " bytes.");
            error.setOutOfMemory();
            throw error;
        }
        if (!image.m_store->read(chunk.index, chunk.samples.get())) {
            std::memset(chunk.samples.get(), 0, bytes);
        }
        const std::lock_guard lock(process::mutexOf(process::Lock::DiskCache));
        add(chunk);
    } catch (...) {
        chunk.samples.reset();
        if (isCounted) {
            const std::lock_guard lock(process::mutexOf(process::Lock::DiskCache));
            m_bytes -= bytes;
        }
        chunk.leave(Chunk::absent);
        throw;
    }
    chunk.isChanged.store(false, std::memory_order_relaxed);
    chunk.elementsSet.store(0, std::memory_order_relaxed);
    chunk.wasUsed.store(true, std::memory_order_relaxed);
    chunk.leave(1);
}

void ChunkCache::makeRoom(std::unique_lock<std::mutex>& lock, std::size_t bytes, std::size_t budget) {
    while (m_bytes > budget || bytes > budget - m_bytes) {
        Chunk* const victim = takeVictim();
        if (victim == nullptr) {
            return;
        }
        lock.unlock();
        bool isKept = false;
        if (victim->isChanged.load(std::memory_order_relaxed)) {
            try {
                victim->image->write(*victim);
            } catch (const std::exception& failure) {
                victim->image->noteFailure(failure.what());
                isKept = true;
            }
        }
        if (!isKept) {
            victim->samples.reset();
        }
        lock.lock();
        if (isKept) {
            victim->leave(0);
        } else {
            remove(*victim);
            m_bytes -= victim->image->m_bytes;
            victim->leave(Chunk::absent);
        }
    }
}

Chunk* ChunkCache::takeVictim() {
    // In the first round what was used since its last turn is spared, in the first two what still lacks rows.
    for (int round = 0; round < 3; ++round) {
        for (std::size_t turn = m_count; turn > 0; --turn) {
            Chunk& chunk = *m_oldest;
            const bool isChanged = chunk.isChanged.load(std::memory_order_relaxed);
            const bool isRefused = isChanged && chunk.image->m_hasFailed.load(std::memory_order_relaxed);
            const bool isSpared = (chunk.wasUsed.exchange(false, std::memory_order_relaxed) && round == 0) ||
                                  (isChanged && !chunk.isWhole() && round < 2);
            if (!isRefused && !isSpared && chunk.take(0)) {
                return &chunk;
            }
            remove(chunk);
            add(chunk);
        }
    }
    return nullptr;
}

void ChunkCache::add(Chunk& chunk) noexcept {
    chunk.newer = nullptr;
    chunk.older = m_newest;
    (m_newest != nullptr ? m_newest->newer : m_oldest) = &chunk;
    m_newest = &chunk;
    ++m_count;
}

void ChunkCache::remove(Chunk& chunk) noexcept {
    (chunk.older != nullptr ? chunk.older->newer : m_oldest) = chunk.newer;
    (chunk.newer != nullptr ? chunk.newer->older : m_newest) = chunk.older;
    chunk.newer = nullptr;
    chunk.older = nullptr;
    --m_count;
}

void ChunkCache::forget(ImageChunks& image) noexcept {
    // In a child of a fork, threads that kept chunks busy are gone.
    const bool isForked = image.m_generation != process::generation();
    for (Chunk& chunk : image.m_chunks) {
        for (;;) {
            if (!isForked) {
                chunk.users.wait(Chunk::busy);  // another image's need may just be giving it up
            }
            // Whoever made it busy leaves it with the lock, and does not touch it after that.
            const std::lock_guard lock(process::mutexOf(process::Lock::DiskCache));
            if (chunk.users.load(std::memory_order_acquire) != Chunk::busy || isForked) {
                if (holds(chunk)) {
                    remove(chunk);
                    m_bytes -= image.m_bytes;
                    chunk.samples.reset();
                }
                break;
            }
        }
    }
}

}  // namespace rix::io::detail
