#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include <sys/stat.h>
#include <sys/types.h>

#include <rix/String.h>

namespace rix::io {

/// A name for what is not complete yet. It begins with a dot, so that listings and patterns pass it over, and doesn't
/// grow with the target's.
String temporaryName();

/// Where a link leads, be there something or not.
/// @param before how many links led here
/// @throws WritingError when that cannot be read, or there were so many that it leads to itself
std::filesystem::path followLink(const std::filesystem::path& link, int before);

/// A file that gets its bytes only when it is complete.
///
/// The bytes go to a temporary file first. `commit` brings them to the target; without `commit` nothing of it changes.
/// - A new file, and one that has this name alone: the temporary file lies in the same folder and takes the name, in
///   one step. Permissions and owner are those of the older file.
/// - A file that has other names (hard links), or whose owner cannot be given to another file: its bytes are replaced
///   where they lie, when there is room for them, so that all names go on showing one file.
/// - A pipe, a device, or an open descriptor of this process (/dev/stdout): the bytes are written to it.
class OutputFile {
public:
    /// Follows links; refuses a target that is a folder, another kind of special file or write-protected.
    /// @throws WritingError when the target is refused or no temporary file can be had.
    explicit OutputFile(const std::filesystem::path& path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// False after a failure, of which the first is kept. Never throws, since C libraries call it back.
    [[nodiscard]] bool writeAt(std::uint64_t offset, const void* buffer, std::size_t bytes) noexcept;
    /// Reads back what was written; fewer bytes at the end of the file. Never throws.
    std::size_t readAt(std::uint64_t offset, void* buffer, std::size_t bytes) noexcept;
    /// A path under which other libraries may open the bytes for writing, while this object is there.
    std::filesystem::path openPath() const;
    /// Counts what another library has written.
    void adoptSize() noexcept;
    /// Bytes written so far.
    std::uint64_t size() const noexcept { return m_size; }

    /// What the system said at the first failure; empty for none.
    String failure() const;
    /// For who writes again what could not be written.
    void forgetFailure() noexcept { m_error = 0; }

    /// Brings the bytes to the target. When an older file is replaced, the new bytes are on the medium before that: a
    /// power failure then leaves one of the two, whole. A new file has nothing to lose and doesn't wait.
    /// @throws WritingError
    void commit();

private:
    /// How the bytes reach the target.
    enum class Way {
        Rename,     ///< the temporary file takes its name
        Overwrite,  ///< they are copied into it
        Stream,     ///< they are written to it
    };

    void followLinks();
    void openTemporary(const std::filesystem::path& folder, mode_t mode);
    void openNameless();
    void keepOwner(const struct stat& old);
    void overwrite();
    void stream();
    /// Copies all bytes to where `target` stands. @return 0, or the number of the system's error
    int copyTo(int target);
    void discard() noexcept;

    std::filesystem::path m_target;
    std::filesystem::path m_temporary;  ///< empty when it has no name
    pid_t m_process;                    ///< whose name it is
    Way m_way = Way::Rename;
    int m_stream = -1;  ///< the descriptor of this process that is the target
    int m_descriptor = -1;
    bool m_replaces = false;
    std::uint64_t m_size = 0;
    int m_error = 0;
};

}  // namespace rix::io
