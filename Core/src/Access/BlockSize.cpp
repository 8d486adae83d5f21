#include <rix/access/BlockSize.h>

#include <algorithm>
#include <atomic>

namespace rix::access {

namespace {

constexpr double usualSmallWork = 1.0e5;

std::atomic<std::size_t> presentBytes{usualBlockBytes};

}  // namespace

std::size_t blockBytes() {
    return presentBytes.load(std::memory_order_relaxed);
}

std::size_t scaledToBlocks(std::size_t elements) {
    const std::size_t bytes = blockBytes();
    if (bytes == usualBlockBytes) {
        return elements;
    }
    const double share = static_cast<double>(bytes) / static_cast<double>(usualBlockBytes);
    return std::max<std::size_t>(1, static_cast<std::size_t>(static_cast<double>(elements) * share));
}

double smallWorkNanoseconds() {
    return usualSmallWork * static_cast<double>(blockBytes()) / static_cast<double>(usualBlockBytes);
}

ScopedBlockBytes::ScopedBlockBytes(std::size_t bytes) : m_before(blockBytes()) {
    presentBytes.store(std::max<std::size_t>(bytes, 1), std::memory_order_relaxed);
}

ScopedBlockBytes::~ScopedBlockBytes() {
    presentBytes.store(m_before, std::memory_order_relaxed);
}

}  // namespace rix::access
