#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>

#include <rix/Export.h>
#include <rix/image/ImageHeader.h>
#include <rix/io/ChunkedFile.h>

namespace rix::io {

class ZarrStore;

/// The chunks of an OME-Zarr image as the files that they are, for processes that write different ones of one image at
/// the same time, perhaps on different machines. The image was made before, with all of its description and no samples
/// or others:
///
///     auto image = io::createImage("large.zarr", {.tileColumns = 1024, .tileRows = 1024});
///     helper::applyHeader(header, *image);
///     image->close();
class RIX_EXPORT ChunkFolder {
public:
    /// @throws LoadingError when there is no OME-Zarr image that could be read
    explicit ChunkFolder(const std::filesystem::path& path);
    ~ChunkFolder();
    ChunkFolder(const ChunkFolder&) = delete;
    ChunkFolder& operator=(const ChunkFolder&) = delete;

    const ImageHeader& header() const { return m_header; }
    const DiskImage::Extents& chunkExtents() const { return m_chunk; }
    /// The number of the chunk that lies there, in chunks, on each axis.
    std::size_t numberOf(const DiskImage::Extents& place) const;
    /// The file of a chunk, which is missing until it is written.
    std::filesystem::path fileOf(std::size_t chunk) const;
    /// Writes a chunk to a file of another name, which takes its place when it is complete: whoever reads meanwhile
    /// sees the older or the newer one, and of two who write the same samples at once both leave the same file.
    /// @param samples of the whole chunk, as `ChunkStore` has them
    /// @throws WritingError
    void write(std::size_t chunk, ConstRawData samples);

private:
    ImageHeader m_header;
    DiskImage::Extents m_chunk{};
    DiskImage::Extents m_counts{};
    std::unique_ptr<ZarrStore> m_store;
};

}  // namespace rix::io
