#include "TiffChunks.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

#include <rix/access/SampleCast.h>
#include <rix/exceptions/Exception.h>

#include "TiffLayout.h"
#include "TiffReader.h"

namespace rix::io {
namespace {

constexpr std::size_t UsualBytes = std::size_t{1} << 20U;

/// A file as one thread reads it.
struct OpenTiff {
    explicit OpenTiff(const std::filesystem::path& path) : file(path), handle(file) {}

    InputFile file;
    TiffHandle handle;
};

class TiffStore final : public ReadOnlyStore {
public:
    TiffStore(std::filesystem::path path, TiffLayout layout, const Extents& chunk)
        : m_path(std::move(path)), m_layout(std::move(layout)), m_grid(m_layout.info.extents, chunk) {}

    bool read(std::size_t chunk, RawData samples) override {
        const ChunkGrid::Box box = m_grid.boxOf(chunk);
        ReadOptions part;
        for (std::size_t axis = 0; axis < box.first.size(); ++axis) {
            part.selection.ranges[axis] = {.first = static_cast<std::int64_t>(box.first[axis]),
                                           .last = static_cast<std::int64_t>(box.first[axis] + box.count[axis])};
        }
        std::unique_ptr<OpenTiff> open = take();
        open->handle.readAfresh();
        const auto image = readTiffPages(open->handle, open->file, m_layout, part);
        put(std::move(open));  // after an exception it is not used again
        const std::size_t sampleBytes = helper::getSizeOf(m_layout.info.voxelType);
        const bool isWhole = box.count == m_grid.chunk();
        if (!isWhole) {
            std::memset(samples, 0, m_grid.elements() * sampleBytes);
        }
        const Extents& n = box.count;
        const Extents& all = m_grid.chunk();
        const std::size_t rowBytes = n[COLUMNS] * sampleBytes;
        const std::uint8_t* from = image->getInternalBuffer();
        // One page at most, of which channels are several.
        for (std::size_t c = 0; c < n[SPECTRAL_SERIES]; ++c) {
            for (std::size_t y = 0; y < n[ROWS]; ++y, from += rowBytes) {
                std::memcpy(samples + (c * all[ROWS] + y) * all[COLUMNS] * sampleBytes, from, rowBytes);
            }
        }
        if (m_layout.info.interpretation == RIX_BINARY) {
            access::makeZeroOrOne(m_layout.info.voxelType, samples, m_grid.elements());
        }
        return true;
    }

private:
    std::unique_ptr<OpenTiff> take() {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_free.empty()) {
                auto open = std::move(m_free.back());
                m_free.pop_back();
                return open;
            }
        }
        return std::make_unique<OpenTiff>(m_path);
    }
    void put(std::unique_ptr<OpenTiff> open) {
        const std::lock_guard lock(m_mutex);
        m_free.push_back(std::move(open));
    }

    std::filesystem::path m_path;
    TiffLayout m_layout;
    ChunkGrid m_grid;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<OpenTiff>> m_free;
};

Extents chunkOf(const TiffLayout& layout) {
    const TiffPage& page = layout.pages.page;
    Extents chunk{page.columns, page.blockRows, 1, 1, page.separate ? 1 : page.channels};
    if (page.tiled) {
        chunk[COLUMNS] = page.blockColumns;
    } else {
        const std::size_t rowBytes =
            std::max<std::size_t>(chunk[SPECTRAL_SERIES] * page.columns * helper::getSizeOf(page.voxelType), 1);
        const std::size_t rows = std::max<std::size_t>(UsualBytes / rowBytes, 1);
        // Rows without compression are found one by one, others with the strip that they are in.
        const bool isPlain = page.compression == COMPRESSION_NONE && !page.isPacked();
        chunk[ROWS] = isPlain ? rows : page.blockRows * std::max<std::size_t>(rows / std::max(page.blockRows, 1U), 1);
    }
    for (const std::size_t axis : {std::size_t{COLUMNS}, std::size_t{ROWS}}) {
        chunk[axis] = std::clamp<std::size_t>(chunk[axis], 1, layout.info.extents[axis]);
    }
    return chunk;
}

}  // namespace

ChunkedImage openTiff(const std::filesystem::path& path, const ReadOptions& options) {
    OpenTiff open(path);
    TiffLayout layout = readTiffLayout(open.handle, open.file.size(), options);
    ChunkedImage image;
    image.info = layout.info;
    image.chunk = chunkOf(layout);
    checkChunks(image.info.extents, image.chunk, helper::getSizeOf(image.info.voxelType), options);
    // A tile may be larger than its picture, and is decoded whole.
    checkChunkBytes(layout.pages.page.rowBytes * (layout.pages.page.tiled ? layout.pages.page.blockRows : 1), options);
    image.store = std::make_unique<TiffStore>(path, std::move(layout), image.chunk);
    return image;
}

}  // namespace rix::io
