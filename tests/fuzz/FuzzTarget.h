#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// What fuzz targets share. A target is one source that defines `LLVMFuzzerTestOneInput`; it aborts when the library
/// breaks a promise, and sanitizers end it for everything else.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace rix::fuzz {

inline constexpr int accepted = 0;

/// Ends the program when a promise is broken.
inline void require(bool holds, const char* promise, const std::string& details = "") {
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n%s\n", promise, details.c_str());
        std::abort();
    }
}

/// Takes an input apart, byte by byte; behind its end there are zeros.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    std::uint8_t next() { return m_at < m_size ? m_data[m_at++] : std::uint8_t{0}; }
    /// A number below `count`, which is at most 65536.
    std::size_t below(std::size_t count) {
        const std::size_t high = count > 256 ? next() : 0;
        return (high << 8 | next()) % count;
    }
    std::string_view rest() const {
        return {reinterpret_cast<const char*>(m_data) + m_at, m_size - m_at};  // NOLINT: bytes as text
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
};

/// A file with the bytes of an input, in memory.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size);
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const std::string& path() const { return m_path; }

private:
    int m_descriptor;
    std::string m_path;
};

}  // namespace rix::fuzz
