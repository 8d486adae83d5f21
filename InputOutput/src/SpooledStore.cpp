#include "SpooledStore.h"

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

/// The temporary file: gone with the last store that uses it.
class Spool {
public:
    Spool(const std::filesystem::path& path, std::size_t chunks, std::size_t bytes)
        : m_file(path), m_bytes(bytes), m_isThere(chunks) {}

    bool read(std::size_t chunk, RawData samples) {
        if (!m_isThere[chunk].load(std::memory_order_acquire)) {
            return false;
        }
        if (m_file.readAt(chunk * m_bytes, samples, m_bytes) != m_bytes) {
            throw LoadingError("What was kept of the image in a temporary file cannot be read again.");
        }
        return true;
    }
    void write(std::size_t chunk, ConstRawData samples) {
        const std::lock_guard lock(m_mutex);
        m_file.forgetFailure();  // there may be room by now
        if (!m_file.writeAt(chunk * m_bytes, samples, m_bytes)) {
            throw WritingError("The image cannot be kept in a temporary file: " + m_file.failure() + '.');
        }
        m_isThere[chunk].store(true, std::memory_order_release);
    }

private:
    OutputFile m_file;  ///< never completed
    std::size_t m_bytes;
    std::mutex m_mutex;
    std::vector<std::atomic<bool>> m_isThere;
};

/// What is in the file, for reading.
class SpoolReader final : public ReadOnlyStore {
public:
    explicit SpoolReader(std::shared_ptr<Spool> spool) : m_spool(std::move(spool)) {}

    bool read(std::size_t chunk, RawData samples) override { return m_spool->read(chunk, samples); }

private:
    std::shared_ptr<Spool> m_spool;
};

class SpooledStore final : public ChunkStore {
public:
    SpooledStore(std::shared_ptr<Spool> spool, const Extents& chunk, std::function<void(const ImageModel&)> write)
        : m_spool(std::move(spool)), m_chunk(chunk), m_write(std::move(write)) {}

    bool read(std::size_t chunk, RawData samples) override { return m_spool->read(chunk, samples); }
    void write(std::size_t chunk, ConstRawData samples) override { m_spool->write(chunk, samples); }
    void finish(const ImageHeader& header) override {
        m_write(DiskImage(std::make_unique<SpoolReader>(m_spool), header, m_chunk));
    }

private:
    std::shared_ptr<Spool> m_spool;
    Extents m_chunk;
    std::function<void(const ImageModel&)> m_write;
};

}  // namespace

std::unique_ptr<ChunkStore> makeSpool(const std::filesystem::path& path, const ImageHeader& header,
                                      const Extents& chunk, std::function<void(const ImageModel&)> write) {
    const ChunkGrid grid(header.extents, chunk);
    auto spool = std::make_shared<Spool>(path, grid.chunks(), grid.elements() * helper::getSizeOf(header.voxelType));
    return std::make_unique<SpooledStore>(std::move(spool), chunk, std::move(write));
}

}  // namespace rix::io
