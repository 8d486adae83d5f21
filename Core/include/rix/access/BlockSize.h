#pragma once

#include <cstddef>

#include <rix/Export.h>

namespace rix::access {

/// The bytes that one block touches in all its images: half of the level-2 cache of common processors. Not a question
/// to the processor, because the cut of images into blocks must not depend on the machine.
inline constexpr std::size_t usualBlockBytes = std::size_t{512} << 10;

/// The bytes that blocks are cut for: `usualBlockBytes`, but in tests that want many blocks of small images.
RIX_EXPORT std::size_t blockBytes();

/// A number of elements that goes with the usual size of blocks, scaled to the present one; at least 1.
RIX_EXPORT std::size_t scaledToBlocks(std::size_t elements);

/// Below this estimated serial time a run stays on one thread: waking others costs as much.
RIX_EXPORT double smallWorkNanoseconds();

/// Cuts images into blocks of another size for as long as it lives: small images then have seams, too. For tests, while
/// nothing runs; nested ones must be destroyed in reverse order.
class RIX_EXPORT ScopedBlockBytes {
public:
    explicit ScopedBlockBytes(std::size_t bytes);
    ~ScopedBlockBytes();
    ScopedBlockBytes(const ScopedBlockBytes&) = delete;
    ScopedBlockBytes& operator=(const ScopedBlockBytes&) = delete;

private:
    std::size_t m_before;
};

}  // namespace rix::access
