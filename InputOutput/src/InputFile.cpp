#include "InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include <rix/exceptions/Exception.h>

namespace rix::io {

InputFile::InputFile(const std::filesystem::path& path) : m_path(path) {
    // Without O_NONBLOCK opening a pipe would wait for someone to write into it.
    m_descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (m_descriptor < 0) {
        switch (errno) {
            case ENOENT: throw LoadingError("The file does not exist.");
            case EACCES:
            case EPERM: throw LoadingError("The file may not be read: permission denied.");
            default: throw LoadingError("The file cannot be opened: " + std::generic_category().message(errno) + ".");
        }
    }
    struct stat status{};
    const bool known = ::fstat(m_descriptor, &status) == 0;
    const char* problem = nullptr;
    if (!known) {
        problem = "The file cannot be examined.";
    } else if (S_ISDIR(status.st_mode)) {
        problem = "This is a folder, not an image file.";
    } else if (!S_ISREG(status.st_mode)) {
        problem = "This is not a regular file.";
    } else if (status.st_size == 0) {
        problem = "The file is empty.";
    }
    if (problem != nullptr) {
        ::close(m_descriptor);
        throw LoadingError(problem);
    }
    m_size = static_cast<std::uint64_t>(status.st_size);
}

InputFile::~InputFile() {
    ::close(m_descriptor);
}

std::size_t InputFile::readAt(std::uint64_t offset, void* buffer, std::size_t bytes) noexcept {
    std::size_t done = 0;
    if (offset >= m_size) {
        return done;
    }
    while (done < bytes) {
        const ssize_t count = ::pread(m_descriptor, static_cast<std::uint8_t*>(buffer) + done, bytes - done,
                                      static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            if (count < 0 && m_error == 0) {
                m_error = errno;
            }
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

String InputFile::failure() const {
    return m_error == 0 ? String() : std::generic_category().message(m_error);
}

}  // namespace rix::io
