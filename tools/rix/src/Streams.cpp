#include "Streams.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>  // NOLINT: mkdtemp is POSIX
#include <sys/stat.h>
#include <unistd.h>

#include <rix/description/Text.h>

#include "Failure.h"
#include "Interrupts.h"
#include "Output.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t chunk = std::size_t{1} << 16;

[[noreturn]] void refuse(const fs::path& path, const std::string& reason) {
    throw Failure(UNREADABLE_INPUT, (isStandardStream(path) ? "standard input" : description::inQuotes(path.string())) +
                                        " can't be read: " + reason);
}

/// A file without a name, open for reading and writing.
int openNameless() {
    const TemporaryFolder folder;
    const int file = ::open((folder.path() / "input").c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0) {
        throw Failure(UNREADABLE_INPUT, std::string("no temporary file can be made: ") + std::strerror(errno));
    }
    return file;
}

/// Reads a pipe to its end. Ctrl-C ends that, too.
void copyAll(int pipe, int file, const fs::path& path) {
    constexpr int pollMilliseconds = 100;
    std::vector<char> buffer(chunk);
    while (true) {
        Interrupts::throwIfRequested();
        pollfd waiting{pipe, POLLIN, 0};
        if (::poll(&waiting, 1, pollMilliseconds) == 0) {
            continue;
        }
        const ssize_t count = ::read(pipe, buffer.data(), buffer.size());
        if (count == 0) {
            return;
        }
        if (count < 0 && errno != EINTR && errno != EAGAIN) {
            refuse(path, std::strerror(errno));
        }
        for (ssize_t done = 0; done < count;) {
            const ssize_t written = ::write(file, buffer.data() + done, static_cast<std::size_t>(count - done));
            if (written < 0 && errno != EINTR) {
                refuse(path, std::string("no room for a temporary copy: ") + std::strerror(errno));
            }
            done += std::max<ssize_t>(written, 0);
        }
    }
}

}  // namespace

bool isStandardStream(const fs::path& path) {
    return !path.has_parent_path() && path.stem() == "-";
}

fs::path readablePath(const fs::path& path) {
    const bool standard = isStandardStream(path);
    struct stat status{};
    if ((standard ? ::fstat(STDIN_FILENO, &status) : ::stat(path.c_str(), &status)) != 0) {
        return path;  // whoever opens it tells why
    }
    if (standard && ::isatty(STDIN_FILENO) != 0) {
        refuse(path, "it is a terminal; an image comes from a pipe or as in 'rix info - < image.png'");
    }
    if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) {
        refuse(path, "it is a device, not a file");
    }
    if (!standard && !S_ISFIFO(status.st_mode)) {
        return path;
    }
    static std::mutex mutex;
    static std::map<std::pair<dev_t, ino_t>, int> copies;  // open as long as the program
    const std::lock_guard lock(mutex);
    const auto [copy, isNew] = copies.try_emplace({status.st_dev, status.st_ino}, -1);
    if (isNew) {
        const int pipe = standard ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (pipe < 0) {
            refuse(path, std::strerror(errno));
        }
        copy->second = openNameless();
        copyAll(pipe, copy->second, path);
        if (!standard) {
            ::close(pipe);
        }
    }
    return "/proc/self/fd/" + std::to_string(copy->second);
}

fs::path withFormat(const fs::path& path) {
    return path == "-" ? fs::path("-.tif") : path;
}

void refuseImageOnTerminal() {
    if (::isatty(STDOUT_FILENO) != 0) {
        throw Failure(UNWRITABLE_OUTPUT,
                      "standard output is a terminal, which shows no images: lead it into a file or a pipe");
    }
}

void sendFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<char> buffer(chunk);
    while (file.read(buffer.data(), static_cast<std::streamsize>(buffer.size())), file.gcount() > 0) {
        writeData({buffer.data(), static_cast<std::size_t>(file.gcount())});
    }
}

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "rix-XXXXXX").string();
    if (error || ::mkdtemp(pattern.data()) == nullptr) {
        throw Failure(UNWRITABLE_OUTPUT, "no temporary folder can be made in " +
                                             description::inQuotes(fs::path(pattern).parent_path().string()));
    }
    m_path = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    fs::remove_all(m_path, error);
}

}  // namespace rix::cli
