#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include <rix/String.h>

namespace rix::io {

/// A file that appears under its name only when it is complete.
///
/// The bytes go to a file of another, unused name in the same folder. `commit` gives it its name, replacing an older
/// file in one step; without `commit` the destructor removes it.
class OutputFile {
public:
    /// Follows links; refuses a target that is a folder, no regular file or write-protected.
    /// @throws WritingError when the target is refused or the folder gives no new file.
    explicit OutputFile(const std::filesystem::path& path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// False after a failure, of which the first is kept. Never throws, since C libraries call it back.
    [[nodiscard]] bool writeAt(std::uint64_t offset, const void* buffer, std::size_t bytes) noexcept;
    /// Reads back what was written; fewer bytes at the end of the file. Never throws.
    std::size_t readAt(std::uint64_t offset, void* buffer, std::size_t bytes) noexcept;
    /// Bytes written so far.
    std::uint64_t size() const noexcept { return m_size; }

    /// What the system said at the first failure; empty for none.
    String failure() const;

    /// Closes the file and gives it its name. When an older file is replaced, the new bytes are on the medium before
    /// that: a power failure then leaves one of the two, whole. A new file has nothing to lose and doesn't wait.
    /// @throws WritingError
    void commit();

private:
    void discard() noexcept;

    std::filesystem::path m_target;
    std::filesystem::path m_temporary;
    int m_descriptor = -1;
    bool m_replaces = false;
    std::uint64_t m_size = 0;
    int m_error = 0;
};

}  // namespace rix::io
