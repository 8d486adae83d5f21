#include "Image/disk/ScratchStore.h"

#include <atomic>
#include <cerrno>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <rix/exceptions/Exception.h>
#include <rix/settings/Settings.h>

namespace rix::io::detail {

namespace {

class ScratchStore final : public ChunkStore {
public:
    ScratchStore(std::size_t count, std::size_t bytes)
        : m_folder(globalSettings().getTemporaryDataDirectory()),
          m_file(openIn(m_folder)),
          m_bytes(bytes),
          m_isWritten(count) {}
    ~ScratchStore() override { ::close(m_file); }

    bool read(std::size_t chunk, RawData samples) override {
        if (!m_isWritten[chunk].load(std::memory_order_acquire)) {
            return false;
        }
        transfer<LoadingError>("read", chunk, [&](std::size_t done, off_t at) {
            return ::pread(m_file, samples + done, m_bytes - done, at);
        });
        return true;
    }

    void write(std::size_t chunk, ConstRawData samples) override {
        transfer<WritingError>("written", chunk, [&](std::size_t done, off_t at) {
            return ::pwrite(m_file, samples + done, m_bytes - done, at);
        });
        m_isWritten[chunk].store(true, std::memory_order_release);
    }

    void finish(const ImageHeader&) override {}

private:
    static int openIn(const String& folder) {
        int file = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
        if (file < 0 && (errno == EOPNOTSUPP || errno == EISDIR)) {  // a file system that knows named files only
            String name = folder + "/lumora_rix_XXXXXX";
            file = ::mkostemp(name.data(), O_CLOEXEC);
            if (file >= 0) {
                ::unlink(name.c_str());
            }
        }
        if (file < 0) {
            throw FileSystemError("No temporary file can be made in the folder " + folder +
                                  " (setting RIX_TEMPORARY_DATA_DIRECTORY): " + std::generic_category().message(errno) +
                                  ".");
        }
        return file;
    }

    template <class Error, class Part>
    void transfer(const char* what, std::size_t chunk, const Part& part) const {
        for (std::size_t done = 0; done < m_bytes;) {
            const ssize_t moved = part(done, static_cast<off_t>(chunk * m_bytes + done));
            if (moved > 0) {
                done += static_cast<std::size_t>(moved);
            } else if (moved == 0 || errno != EINTR) {
                throw Error("Temporary data in the folder " + m_folder + " cannot be " + what + ": " +
                            (moved == 0 ? String("the file ends too early") : std::generic_category().message(errno)) +
                            ".");
            }
        }
    }

    String m_folder;
    int m_file;
    std::size_t m_bytes;
    std::vector<std::atomic<bool>> m_isWritten;
};

}  // namespace

std::unique_ptr<ChunkStore> makeScratchStore(std::size_t count, std::size_t bytes) {
    return std::make_unique<ScratchStore>(count, bytes);
}

}  // namespace rix::io::detail
