#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "../InputFile.h"
#include "../OutputFile.h"

namespace rix::io {

/// Bytes of a file one after the other.
class ByteSource {
public:
    ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;
    virtual ~ByteSource() = default;

    /// @throws LoadingError when fewer come
    virtual void read(std::uint8_t* buffer, std::size_t bytes) = 0;
    /// After the last byte that is wanted: checks what the file says at its end of what was read. @throws LoadingError
    virtual void finish() {}
    /// Passes over bytes; those of a file without compression are not read. @throws LoadingError
    virtual void skip(std::uint64_t bytes);

private:
    std::vector<std::uint8_t> m_skipped;
};

/// The bytes of a file as they are, or unpacked from gzip or zlib, from a position on.
std::unique_ptr<ByteSource> openSource(InputFile& file, std::uint64_t position, bool compressed);

/// The most that deflate can make of a byte: 258 bytes in 2 bits, less what tables take.
inline constexpr std::uint64_t DeflateRatio = 1032;

/// Takes bytes one after the other to a file.
class ByteSink {
public:
    ByteSink() = default;
    ByteSink(const ByteSink&) = delete;
    ByteSink& operator=(const ByteSink&) = delete;
    virtual ~ByteSink() = default;

    /// @throws WritingError
    virtual void write(const void* buffer, std::size_t bytes) = 0;
    /// After the last byte. @throws WritingError
    virtual void finish() {}
};

enum class Packing { None, Gzip, Zlib };

/// Appends to a file, from its end on.
std::unique_ptr<ByteSink> openSink(OutputFile& file, Packing packing);

}  // namespace rix::io
