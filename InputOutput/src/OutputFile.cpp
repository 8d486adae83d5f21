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
#include <vector>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

// As many as Linux follows.
constexpr int MostLinks = 40;

String errorText(int error) {
    return std::generic_category().message(error);
}

void refuseEmbeddedNul(const std::filesystem::path& path) {
    if (path.native().find('\0') != std::filesystem::path::string_type::npos) {
        throw WritingError("The name has a zero byte inside, which no file has.");
    }
}

/// The number of the open file of this process that a link stands for, as /dev/stdout and /dev/fd/3 do at their end;
/// -1 for any other link. Such a link tells the path of the file, too, but to write there would pass by what is open:
/// its position, and whether it appends.
int descriptorOf(const std::filesystem::path& link) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::canonical(link.parent_path() / ".", error);
    if (error || folder.filename() != "fd" || !folder.native().starts_with("/proc/")) {
        return -1;
    }
    std::filesystem::path process = folder.parent_path();
    if (process.parent_path().filename() == "task") {
        process = process.parent_path().parent_path();
    }
    const String number = link.filename().string();
    int descriptor = -1;
    const auto end = std::from_chars(number.data(), number.data() + number.size(), descriptor);
    if (process != std::filesystem::canonical("/proc/self", error) || end.ec != std::errc()) {
        throw WritingError("This leads into another process.");
    }
    return descriptor;
}

}  // namespace

String temporaryName() {
    thread_local std::random_device source;
    const std::uint64_t number = (std::uint64_t{source()} << 32U) | source();
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return ".rix-" + String(digits.data(), end) + ".tmp";
}

std::filesystem::path followLink(const std::filesystem::path& link, int before) {
    std::error_code error;
    const std::filesystem::path next = std::filesystem::read_symlink(link, error);
    if (error || before == MostLinks) {
        throw WritingError("The link cannot be followed: " + (error ? error.message() : String("it leads to itself")) +
                           ".");
    }
    return link.parent_path() / next;
}

OutputFile::OutputFile(const std::filesystem::path& path) : m_target(path), m_process(::getpid()) {
    refuseEmbeddedNul(path);
    followLinks();
    if (m_stream >= 0) {
        openNameless();
        return;
    }
    struct stat status{};
    mode_t mode = 0666;
    if (::stat(m_target.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            throw WritingError("This is a folder; an image needs the name of a file.");
        }
        if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode) && !S_ISFIFO(status.st_mode)) {
            throw WritingError("This is neither a file nor a pipe.");
        }
        if (::access(m_target.c_str(), W_OK) != 0) {
            throw WritingError("The file of this name is write-protected: " + errorText(errno) + ".");
        }
        if (!S_ISREG(status.st_mode)) {
            m_way = Way::Stream;
            openNameless();
            return;
        }
        m_replaces = true;
        m_way = status.st_nlink > 1 ? Way::Overwrite : Way::Rename;
        mode = status.st_mode & 0777;
    }
    const std::filesystem::path folder = m_target.parent_path();
    openTemporary(folder.empty() ? "." : folder, mode);
    if (m_replaces && m_way == Way::Rename) {
        keepOwner(status);
        if (::fchmod(m_descriptor, mode) != 0) {
            m_way = Way::Overwrite;
        }
    }
}

void OutputFile::followLinks() {
    std::error_code error;
    // Link by link, since a link may lead to a file that doesn't exist yet.
    for (int depth = 0; std::filesystem::is_symlink(m_target, error); ++depth) {
        m_stream = descriptorOf(m_target);
        if (m_stream >= 0) {
            if ((::fcntl(m_stream, F_GETFL) & O_ACCMODE) == O_RDONLY) {
                throw WritingError("This is open for reading only.");
            }
            m_way = Way::Stream;
            return;
        }
        m_target = followLink(m_target, depth);
    }
}

void OutputFile::openTemporary(const std::filesystem::path& folder, mode_t mode) {
    for (int attempt = 0; m_descriptor < 0 && attempt < 16; ++attempt) {
        m_temporary = folder / temporaryName();
        m_descriptor = ::open(m_temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (m_descriptor < 0 && errno != EEXIST) {
            break;
        }
    }
    if (m_descriptor < 0) {
        const int reason = errno;
        m_temporary.clear();
        std::error_code error;
        // Some file systems refuse new files with the same code as a missing folder.
        throw WritingError(reason == ENOENT && !std::filesystem::exists(folder, error)
                               ? "The folder '" + folder.string() + "' does not exist."
                               : "No file can be created in the folder '" + folder.string() +
                                     "': " + errorText(reason) + ".");
    }
}

/// A pipe can't be written at any place, as formats are.
void OutputFile::openNameless() {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) {
        throw WritingError("There is no folder for temporary files: " + error.message() + ".");
    }
    openTemporary(folder, 0600);
    ::unlink(m_temporary.c_str());
    m_temporary.clear();
}

void OutputFile::keepOwner(const struct stat& old) {
    struct stat mine{};
    const bool same = ::fstat(m_descriptor, &mine) == 0 && mine.st_uid == old.st_uid && mine.st_gid == old.st_gid;
    if (!same && ::fchown(m_descriptor, old.st_uid, old.st_gid) != 0) {
        m_way = Way::Overwrite;
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
        if (m_process == ::getpid()) {  // what a forked process ends is its parent's still
            ::unlink(m_temporary.c_str());
        }
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

std::filesystem::path OutputFile::openPath() const {
    return "/proc/self/fd/" + std::to_string(m_descriptor);
}

void OutputFile::adoptSize() noexcept {
    struct stat status{};
    if (::fstat(m_descriptor, &status) == 0) {
        m_size = static_cast<std::uint64_t>(status.st_size);
    } else if (m_error == 0) {
        m_error = errno;
    }
}

String OutputFile::failure() const {
    return m_error == 0 ? String() : errorText(m_error);
}

int OutputFile::copyTo(int target) {
    std::vector<std::uint8_t> buffer(std::size_t{1} << 16);
    for (std::uint64_t place = 0; place < m_size;) {
        const std::size_t count = readAt(place, buffer.data(), buffer.size());
        if (count == 0) {
            return EIO;
        }
        for (std::size_t done = 0; done < count;) {
            const ssize_t written = ::write(target, buffer.data() + done, count - done);
            if (written > 0) {
                done += static_cast<std::size_t>(written);
            } else if (written == 0 || errno != EINTR) {
                return written == 0 ? EIO : errno;
            }
        }
        place += count;
    }
    return 0;
}

void OutputFile::overwrite() {
    const int target = ::open(m_target.c_str(), O_WRONLY | O_CLOEXEC);
    if (target < 0) {
        m_error = errno;
        return;
    }
    // Room first: where a file system can't tell, it is found out on the way.
    if (m_size > 0 && ::fallocate(target, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(m_size)) != 0 &&
        errno != EOPNOTSUPP && errno != ENOSYS) {
        m_error = errno;
    } else {
        m_error = copyTo(target);
        if (m_error == 0 && (::ftruncate(target, static_cast<off_t>(m_size)) != 0 || ::fsync(target) != 0)) {
            m_error = errno;
        }
        if (m_error != 0) {
            // The only whole copy of the new bytes.
            const String rescue = m_temporary.string();
            m_temporary.clear();
            ::close(target);
            throw WritingError("The file was overwritten in part only: " + failure() + ". The whole new file is '" +
                               rescue + "'.");
        }
    }
    ::close(target);
}

void OutputFile::stream() {
    int target = m_stream;
    if (target < 0) {
        target = ::open(m_target.c_str(), O_WRONLY | O_CLOEXEC);
        if (target < 0) {
            m_error = errno;
            return;
        }
    }
    m_error = copyTo(target);
    if (target != m_stream && ::close(target) != 0 && m_error == 0) {
        m_error = errno;
    }
}

void OutputFile::commit() {
    if (m_error == 0 && m_replaces && ::fsync(m_descriptor) != 0) {
        m_error = errno;
    }
    if (m_error == 0 && m_way != Way::Rename) {
        m_way == Way::Stream ? stream() : overwrite();
    }
    // Network file systems report a full disk only here.
    const int closed = ::close(m_descriptor);
    m_descriptor = -1;
    if (m_error == 0 && m_way == Way::Rename && closed != 0) {
        m_error = errno;
    }
    if (m_error == 0 && m_way == Way::Rename && ::rename(m_temporary.c_str(), m_target.c_str()) != 0) {
        m_error = errno;
    }
    if (m_error != 0) {
        const String reason = failure();
        discard();
        throw WritingError("The file cannot be completed: " + reason + ".");
    }
    if (m_way == Way::Rename) {
        m_temporary.clear();
    }
    discard();
}

}  // namespace rix::io
