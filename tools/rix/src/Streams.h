#pragma once

#include <filesystem>

namespace rix::cli {

/// True for "-", and for "-.png", "-.csv" and the like: standard input where an image is read, standard output where
/// something is written, in the format of the extension. A file of that name is "./-.png".
bool isStandardStream(const std::filesystem::path& path);

/// The path under which the content of `path` can be read at any place and as often as wanted: the path itself for a
/// file, a temporary copy without a name for standard input and pipes, which are read to their ends at the first call.
/// @throws Failure: unreadable input, for devices as well, which may have no end; interrupted.
std::filesystem::path readablePath(const std::filesystem::path& path);

/// A name whose extension tells the format: "-" alone stands for TIFF, which holds every image.
std::filesystem::path withFormat(const std::filesystem::path& path);

/// @throws Failure (unwritable output) when standard output is a terminal, which shows no images.
void refuseImageOnTerminal();

/// Sends the bytes of a file to standard output.
void sendFile(const std::filesystem::path& path);

/// A folder for temporary files, removed with what is in it.
class TemporaryFolder {
public:
    /// @throws Failure (unwritable output)
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

}  // namespace rix::cli
