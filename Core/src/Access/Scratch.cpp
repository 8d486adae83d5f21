#include <rix/access/Scratch.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>
#include <string>

#include <rix/exceptions/Exception.h>

#include "Image/BufferAllocation.h"

namespace rix::access {

namespace {

constexpr std::align_val_t scratchAlignment{64};
#ifdef __SANITIZE_ADDRESS__
// The sanitizer's allocator ends the program for sizes that it does not support instead of throwing.
constexpr std::size_t largestAllocation = std::size_t{1} << 38;
#else
constexpr std::size_t largestAllocation = static_cast<std::size_t>(PTRDIFF_MAX) - Scratch::granularity;
#endif
/// A store keeps at most this many buffers: a thread's idle memory is bounded.
constexpr std::size_t keptBuffers = 16;

/// Big buffers don't go through a thread's store: they wait for reuse where those of images do, on huge pages.
constexpr bool isBig(std::size_t capacity) {
    return capacity >= buffer::hugePageSize;
}

/// The free buffers of one thread.
class ThreadStore {
public:
    struct Buffer {
        RawData data = nullptr;
        std::size_t capacity = 0;
    };

    ThreadStore() = default;
    ~ThreadStore();
    ThreadStore(const ThreadStore&) = delete;
    ThreadStore& operator=(const ThreadStore&) = delete;

    /// The smallest free buffer that is large enough, or none.
    Buffer take(std::size_t bytes) {
        std::size_t best = m_count;
        for (std::size_t i = 0; i < m_count; ++i) {
            if (m_free[i].capacity >= bytes && (best == m_count || m_free[i].capacity < m_free[best].capacity)) {
                best = i;
            }
        }
        if (best == m_count) {
            return {};
        }
        std::swap(m_free[best], m_free[--m_count]);
        return m_free[m_count];
    }

    bool give(const Buffer& buffer) {
        if (m_count == keptBuffers) {
            return false;
        }
        m_free[m_count++] = buffer;
        return true;
    }

private:
    std::array<Buffer, keptBuffers> m_free{};
    std::size_t m_count = 0;
};

/// Objects of the thread that are destroyed after its store may still have buffers to release.
thread_local bool storeIsGone = false;

ThreadStore::~ThreadStore() {
    storeIsGone = true;
    for (std::size_t i = 0; i < m_count; ++i) {
        ::operator delete(m_free[i].data, scratchAlignment);
    }
}

/// Null at the end of a thread.
ThreadStore* threadStore() {
    if (storeIsGone) {
        return nullptr;
    }
    thread_local ThreadStore store;
    return &store;
}

}  // namespace

Scratch::Scratch(std::size_t bytes) {
    if (bytes > largestAllocation) {
        throw MemoryError("A working buffer of " + std::to_string(bytes) + " bytes cannot be allocated.");
    }
    const std::size_t capacity = held(bytes);  // never 0
    // A kept buffer may be larger; the difference was this thread's idle memory before and is not of this run's making.
    m_charge = MemoryCharge(capacity);
    if (ThreadStore* const store = threadStore(); store != nullptr && !isBig(capacity)) {
        const ThreadStore::Buffer kept = store->take(bytes);
        if (kept.data != nullptr) {
            m_data = kept.data;
            m_capacity = kept.capacity;
            return;
        }
    }
    try {
        m_data = static_cast<RawData>(isBig(capacity) ? buffer::allocate(capacity)
                                                      : ::operator new(capacity, scratchAlignment));
    } catch (const std::bad_alloc&) {
        throw MemoryError("A working buffer of " + std::to_string(bytes) + " bytes cannot be allocated.");
    }
    m_capacity = capacity;
}

Scratch::~Scratch() {
    if (m_data == nullptr) {
        return;
    }
    if (isBig(m_capacity)) {
        buffer::release(m_data, m_capacity);
    } else if (ThreadStore* const store = threadStore(); store == nullptr || !store->give({m_data, m_capacity})) {
        ::operator delete(m_data, scratchAlignment);
    }
}

}  // namespace rix::access
