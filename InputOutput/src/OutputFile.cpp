#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <random>
#include <system_error>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

// As many as Linux follows.
constexpr int MostLinks = 40;

String errorText(int error) {
    return std::generic_category().message(error);
}

/// A name that begins with a dot, so that listings and patterns pass it over, and that doesn't grow with the target's.
String temporaryName() {
    thread_local std::random_device source;
    const std::uint64_t number = (std::uint64_t{source()} << 32U) | source();
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return ".rix-" + String(digits.data(), end) + ".tmp";
}

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& path) : m_target(path) {
    std::error_code error;
    // Link by link, since a link may lead to a file that doesn't exist yet.
    for (int depth = 0; std::filesystem::is_symlink(m_target, error); ++depth) {
        const std::filesystem::path next = std::filesystem::read_symlink(m_target, error);
        if (error || depth == MostLinks) {
            throw WritingError(
                "The link cannot be followed: " + (error ? error.message() : String("it leads to itself")) + ".");
        }
        m_target = m_target.parent_path() / next;
    }
    struct stat status{};
    mode_t mode = 0666;
    if (::stat(m_target.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            throw WritingError("This is a folder; an image needs the name of a file.");
        }
        if (!S_ISREG(status.st_mode)) {
            throw WritingError("This is not a regular file.");
        }
        if (::access(m_target.c_str(), W_OK) != 0) {
            throw WritingError("The file of this name is write-protected: " + errorText(errno) + ".");
        }
        m_replaces = true;
        mode = status.st_mode & 0777;
    }

    std::filesystem::path folder = m_target.parent_path();
    if (folder.empty()) {
        folder = ".";
    }
    for (int attempt = 0; m_descriptor < 0 && attempt < 16; ++attempt) {
        m_temporary = folder / temporaryName();
        m_descriptor = ::open(m_temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (m_descriptor < 0 && errno != EEXIST) {
            break;
        }
    }
    if (m_descriptor < 0) {
        const int reason = errno;
        // Some file systems refuse new files with the same code as a missing folder.
        throw WritingError(reason == ENOENT && !std::filesystem::exists(folder, error)
                               ? "The folder '" + folder.string() + "' does not exist."
                               : "No file can be created in the folder '" + folder.string() +
                                     "': " + errorText(reason) + ".");
    }
    if (m_replaces && ::fchmod(m_descriptor, mode) != 0) {
        const int reason = errno;
        discard();
        throw WritingError("The permissions of the old file cannot be kept: " + errorText(reason) + ".");
    }
}

OutputFile::~OutputFile() {
    discard();
}

void OutputFile::discard() noexcept {
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
    if (!m_temporary.empty()) {
        ::unlink(m_temporary.c_str());
        m_temporary.clear();
    }
}

bool OutputFile::writeAt(std::uint64_t offset, const void* buffer, std::size_t bytes) noexcept {
    std::size_t done = 0;
    while (m_error == 0 && done < bytes) {
        const ssize_t count = ::pwrite(m_descriptor, static_cast<const std::uint8_t*>(buffer) + done, bytes - done,
                                       static_cast<off_t>(offset + done));
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            m_error = count == 0 ? EIO : errno;
        }
    }
    m_size = std::max(m_size, offset + done);
    return m_error == 0;
}

std::size_t OutputFile::readAt(std::uint64_t offset, void* buffer, std::size_t bytes) noexcept {
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t count = ::pread(m_descriptor, static_cast<std::uint8_t*>(buffer) + done, bytes - done,
                                      static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

String OutputFile::failure() const {
    return m_error == 0 ? String() : errorText(m_error);
}

void OutputFile::commit() {
    if (m_error == 0 && m_replaces && ::fsync(m_descriptor) != 0) {
        m_error = errno;
    }
    // Network file systems report a full disk only here.
    const int closed = ::close(m_descriptor);
    m_descriptor = -1;
    if (m_error == 0 && closed != 0) {
        m_error = errno;
    }
    if (m_error == 0 && ::rename(m_temporary.c_str(), m_target.c_str()) != 0) {
        m_error = errno;
    }
    if (m_error != 0) {
        const String reason = failure();
        discard();
        throw WritingError("The file cannot be completed: " + reason + ".");
    }
    m_temporary.clear();
}

}  // namespace rix::io
