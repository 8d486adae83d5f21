#include <rix/io/ChunkFolder.h>

#include <utility>

#include <rix/exceptions/Exception.h>

#include "../Chunks.h"
#include "../NamingTheFile.h"
#include "ZarrStore.h"

namespace rix::io {

ChunkFolder::ChunkFolder(const std::filesystem::path& path) {
    namingTheFile(readingLevel(path), [&] {
        const Codec* const codec = codecOfFolder(path);
        if (codec != &zarrCodec) {
            throw LoadingError("This is no folder of an OME-Zarr image.");
        }
        ReadOptions options;
        options.warn = [](const String&) {};
        ChunkedImage image = codec->chunks->open(path, options);
        m_header = image.info;
        m_chunk = image.chunk;
        // Folders are opened by nothing else.
        m_store.reset(static_cast<ZarrStore*>(image.store.release()));
        m_counts = m_store->grid().counts();
        return 0;
    });
}

ChunkFolder::~ChunkFolder() = default;

std::size_t ChunkFolder::numberOf(const DiskImage::Extents& place) const {
    std::size_t number = 0;
    for (std::size_t axis = place.size(); axis-- > 0;) {
        number = number * m_counts[axis] + place[axis];
    }
    return number;
}

std::filesystem::path ChunkFolder::fileOf(std::size_t chunk) const {
    return m_store->fileOf(chunk);
}

void ChunkFolder::write(std::size_t chunk, ConstRawData samples) {
    m_store->write(chunk, samples);
}

}  // namespace rix::io
