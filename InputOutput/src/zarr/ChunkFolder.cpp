#include <rix/io/ChunkFolder.h>

#include <utility>

#include <rix/exceptions/Exception.h>

#include "../Chunks.h"
#include "../NamingTheFile.h"
#include "ZarrStore.h"

namespace rix::io {

ChunkFolder::ChunkFolder(const std::filesystem::path& path) {
    namingTheFile(readingLevel(path), [&] {
        const Codec* const codec = codecOfPlace(path);
        if (codec != &zarrCodec) {
            throw LoadingError("This is no folder of an OME-Zarr image.");
        }
        ReadOptions options;
        options.warn = [](const String&) {};
        ChunkedImage image = codec->chunks->open(path, options);
        m_header = image.info;
        // Folders are opened by nothing else.
        m_store.reset(static_cast<ZarrStore*>(image.store.release()));
        return 0;
    });
}

ChunkFolder::~ChunkFolder() = default;

std::vector<std::size_t> ChunkFolder::chunksIn(const Extents& first, const Extents& count) const {
    std::vector<std::size_t> chunks;
    m_store->grid().forEachIn({first, count}, [&](std::size_t chunk) { chunks.push_back(chunk); });
    return chunks;
}

std::filesystem::path ChunkFolder::fileOf(std::size_t chunk) const {
    return m_store->fileOf(chunk);
}

void ChunkFolder::write(std::size_t chunk, const ImageModel& image, const Extents& origin) {
    const ChunkGrid& grid = m_store->grid();
    std::vector<std::uint8_t> samples(grid.elements() * helper::getSizeOf(image.getVoxelType()));
    fillChunk(grid, chunk, image, origin, samples.data());
    m_store->write(chunk, samples.data());
}

}  // namespace rix::io
