#include "Image/BufferAllocation.h"

#include <array>
#include <cstdint>
#include <mutex>
#include <new>
#include <type_traits>

#include <sys/mman.h>

#include "Process/Forks.h"

namespace rix::buffer {

namespace {

#ifdef __SANITIZE_ADDRESS__
// The sanitizer sees accesses beyond the end and after the release only in memory of its own allocator, which ends the
// program for sizes that it does not support instead of throwing.
constexpr bool usesMappings = false;
constexpr std::size_t largestAllocation = std::size_t{1} << 38;
#else
constexpr bool usesMappings = true;
constexpr std::size_t largestAllocation = static_cast<std::size_t>(PTRDIFF_MAX) - 2 * hugePageSize;
#endif

constexpr bool isBig(std::size_t bytes) {
    return bytes >= hugePageSize;
}

constexpr std::size_t roundUp(std::size_t value) {
    return (value + hugePageSize - 1) / hugePageSize * hugePageSize;
}

void unmap(void* address, std::size_t bytes) noexcept {
    if (bytes != 0) {
        ::munmap(address, bytes);
    }
}

/// Null when the system refuses.
void* mapHugePages(std::size_t capacity) noexcept {
    // Mappings are aligned to small pages only: map one huge page too much and give the ends back.
    const std::size_t length = capacity + hugePageSize;
    void* const mapping = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) {
        return nullptr;
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(mapping);
    const std::size_t head = roundUp(begin) - begin;
    auto* const aligned = static_cast<std::uint8_t*>(mapping) + head;
    unmap(mapping, head);
    unmap(aligned + capacity, length - head - capacity);
    // Only advice: where the system has no huge pages, small ones serve.
    static_cast<void>(::madvise(aligned, capacity, MADV_HUGEPAGE));
    return aligned;
}

struct Block {
    void* address = nullptr;
    std::size_t capacity = 0;
};

/// Released big buffers, oldest first. No destructor: images with static storage may be released after it would run.
class Recycler {
public:
    /// The most recently released block of that capacity, which is the likeliest to be in a cache; null without one.
    void* take(std::size_t capacity) noexcept {
        const std::lock_guard lock(mutex());
        for (std::size_t i = m_count; i-- > 0;) {
            if (m_blocks[i].capacity == capacity) {
                void* const address = m_blocks[i].address;
                removeAt(i);
                return address;
            }
        }
        return nullptr;
    }

    /// Keeps a block and gives the oldest ones back until the limit is kept.
    void give(Block block) noexcept {
        if (block.capacity > recycledLimit) {
            unmap(block.address, block.capacity);
            return;
        }
        std::array<Block, maximumBlocks> surplus;
        std::size_t surplusCount = 0;
        {
            const std::lock_guard lock(mutex());
            while (m_bytes + block.capacity > recycledLimit) {
                surplus[surplusCount++] = m_blocks[0];
                removeAt(0);
            }
            m_blocks[m_count++] = block;
            m_bytes += block.capacity;
        }
        for (std::size_t i = 0; i < surplusCount; ++i) {
            unmap(surplus[i].address, surplus[i].capacity);
        }
    }

    void clear() noexcept {
        const std::lock_guard lock(mutex());
        while (m_count > 0) {
            unmap(m_blocks[0].address, m_blocks[0].capacity);
            removeAt(0);
        }
    }

    std::size_t bytes() noexcept {
        const std::lock_guard lock(mutex());
        return m_bytes;
    }

private:
    // Every block is at least one huge page, so the limit on bytes bounds the count.
    static constexpr std::size_t maximumBlocks = recycledLimit / hugePageSize;

    void removeAt(std::size_t index) noexcept {
        m_bytes -= m_blocks[index].capacity;
        --m_count;
        for (std::size_t i = index; i < m_count; ++i) {
            m_blocks[i] = m_blocks[i + 1];
        }
    }

    static std::mutex& mutex() noexcept { return process::mutexOf(process::Lock::RecycledMemory); }

    std::array<Block, maximumBlocks> m_blocks;
    std::size_t m_count = 0;
    std::size_t m_bytes = 0;
};

constinit Recycler recycler;
static_assert(std::is_trivially_destructible_v<Recycler>);

}  // namespace

void* allocate(std::size_t bytes) {
    if (bytes == 0) {
        return nullptr;
    }
    if (bytes > largestAllocation) {
        throw std::bad_alloc();
    }
    if (!usesMappings || !isBig(bytes)) {
        return ::operator new(bytes, std::align_val_t(isBig(bytes) ? hugePageSize : smallAlignment));
    }
    const std::size_t capacity = roundUp(bytes);
    if (void* const recycled = recycler.take(capacity)) {
        return recycled;
    }
    void* fresh = mapHugePages(capacity);
    if (fresh == nullptr) {
        // What waits for reuse may be what is missing.
        recycler.clear();
        fresh = mapHugePages(capacity);
    }
    if (fresh == nullptr) {
        throw std::bad_alloc();
    }
    return fresh;
}

void release(void* address, std::size_t bytes) noexcept {
    if (address == nullptr) {
        return;
    }
    if (!usesMappings || !isBig(bytes)) {
        ::operator delete(address, std::align_val_t(isBig(bytes) ? hugePageSize : smallAlignment));
        return;
    }
    recycler.give({address, roundUp(bytes)});
}

std::size_t recycledBytes() noexcept {
    return recycler.bytes();
}

void releaseRecycled() noexcept {
    recycler.clear();
}

}  // namespace rix::buffer
