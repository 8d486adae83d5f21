#pragma once

#include <cstddef>

#include <rix/exceptions/Exception.h>

namespace rix::helper {

/// Learns why an image takes no shape in this thread while it lives, for want of memory or as it has noted itself
/// (`noteRowRefusal`): of a failure, `ImageModel::reserve` tells no more than that there was one. They nest; a refusal
/// of memory counts for the innermost.
class MemoryRefusals {
public:
    MemoryRefusals() noexcept;
    ~MemoryRefusals();
    MemoryRefusals(const MemoryRefusals&) = delete;
    MemoryRefusals& operator=(const MemoryRefusals&) = delete;

    /// Called where memory was refused.
    static void note(std::size_t bytes) noexcept;

    /// Tells in the exception for what there was no memory, or what the image has noted.
    void explain(Exception& exception) const;

private:
    std::size_t m_bytes = 0;
    MemoryRefusals* m_outer;
};

}  // namespace rix::helper
