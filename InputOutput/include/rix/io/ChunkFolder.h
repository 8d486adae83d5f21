#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <vector>

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
    /// The numbers of the chunks that have some of a box of the image, which has elements on every axis.
    std::vector<std::size_t> chunksIn(const DiskImage::Extents& first, const DiskImage::Extents& count) const;
    /// The file of a chunk, which is missing until it is written.
    std::filesystem::path fileOf(std::size_t chunk) const;
    /// Writes a chunk to a file of another name, which takes its place when it is complete: whoever reads meanwhile
    /// sees the older or the newer one, and of two who write the same samples at once both leave the same file.
    /// @param image of the type of this one, with all that the chunk has of it
    /// @param origin where in this image its first element lies
    /// @throws WritingError
    void write(std::size_t chunk, const ImageModel& image, const DiskImage::Extents& origin);

private:
    ImageHeader m_header;
    std::unique_ptr<ZarrStore> m_store;
};

}  // namespace rix::io
