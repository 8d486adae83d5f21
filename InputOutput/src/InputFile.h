#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include <rix/String.h>

namespace rix::io {

/// A regular file open for reading.
///
/// It is read by calls, not mapped: a file that someone truncates while it is read must give an error, not a signal.
class InputFile {
public:
    /// @throws LoadingError when `path` is missing, is no regular file, is empty or may not be read.
    explicit InputFile(const std::filesystem::path& path);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    std::uint64_t size() const noexcept { return m_size; }
    const std::filesystem::path& path() const noexcept { return m_path; }

    /// Reads up to `bytes` bytes; fewer only at the end of the file or after a failure. It never throws, since C
    /// libraries call it back.
    std::size_t readAt(std::uint64_t offset, void* buffer, std::size_t bytes) noexcept;

    /// The text of the system for the first failed read; empty for none.
    String failure() const;

private:
    std::filesystem::path m_path;
    int m_descriptor = -1;
    std::uint64_t m_size = 0;
    int m_error = 0;
};

}  // namespace rix::io
