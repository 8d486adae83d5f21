#include <sys/mman.h>
#include <unistd.h>

#include "FuzzTarget.h"

namespace rix::fuzz {

MemoryFile::MemoryFile(const std::uint8_t* data, std::size_t size)
    : m_descriptor(::memfd_create("input", 0)), m_path("/proc/self/fd/" + std::to_string(m_descriptor)) {
    for (std::size_t written = 0; written < size;) {
        const auto count = ::write(m_descriptor, data + written, size - written);
        require(count > 0, "a file in memory can be written");
        written += static_cast<std::size_t>(count);
    }
}

MemoryFile::~MemoryFile() {
    ::close(m_descriptor);
}

}  // namespace rix::fuzz
