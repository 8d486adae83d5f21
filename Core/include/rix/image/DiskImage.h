#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>

#include <rix/Export.h>
#include <rix/image/ChunkStore.h>
#include <rix/image/ImageHeader.h>

namespace rix::io {

namespace detail {
class ImageChunks;
}

/// An image whose samples lie on disk in chunks, of which those in use are in memory.
///
/// Rows are copied from and to chunks that all disk images of the process keep in one cache: of at most the setting
/// "RIX_DISK_CACHE_SIZE" bytes, by default a quarter of the machine's memory, or so many chunks as the running threads
/// use at the moment, where that is more. What was not used for longest goes first; changed chunks are written then,
/// those that lack rows last, so that a chunk is written once, whole, as long as the cache holds the rows that are
/// being written. Operations cut images on disk along their chunks.
///
/// Reads may be concurrent, with each other and with writes of other rows. An image that was forked away belongs to the
/// parent: in the child its rows are refused.
///
///     io::DiskImage large;  // in the folder for temporary data
///     if (large.reserve(RIX_UINT16, 200000, 100000, 1, 1, 1)) { ... }
class RIX_EXPORT DiskImage : public ImageModelWithHeader {
public:
    using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;
    /// Makes the store of an image whose shape has become known.
    using StoreMaker = std::function<std::unique_ptr<ChunkStore>(const ImageHeader& header, const Extents& chunk)>;

    /// Without elements; `reserve` gives it a file in the folder for temporary data ("RIX_TEMPORARY_DATA_DIRECTORY")
    /// that has no name, so that it is gone with the image whatever becomes of the process. Samples are 0 at first.
    DiskImage();
    /// Without elements; `reserve` asks for a store.
    /// @param chunk extents of the chunks, cut to those of the image; 0 on all axes for ones of about a MiB
    explicit DiskImage(StoreMaker maker, const Extents& chunk = {});
    /// What a store holds, for reading.
    /// @throws InvalidCall when the header or the chunks have no size that memory could be had for
    DiskImage(std::unique_ptr<ChunkStore> store, const ImageHeader& header, const Extents& chunk);
    /// Gives up what `close` was not called for.
    ~DiskImage() override;
    DiskImage(const DiskImage&) = delete;
    DiskImage& operator=(const DiskImage&) = delete;

    bool isWritable() const { return m_isWritable; }
    const Extents& chunkExtents() const { return m_chunk; }

    /// Writes all changed chunks. A chunk that could not be written when the cache had to give it up is in memory still
    /// and tried again; until that succeeds, rows that are written are refused.
    /// @throws WritingError for the first that cannot be written; none is lost
    void flush();
    /// Writes all changed chunks and finishes the store; the image has no elements then. An image that is only read,
    /// and one of temporary data, is given up.
    /// @throws WritingError as `flush`, or when the store cannot be finished; the image is as it was then
    void close();

    bool isOnDisk() const override;
    /// The extents of the chunks; true for an image with elements.
    bool getPreferedSize(std::size_t& columns, std::size_t& rows, std::size_t& planes, std::size_t& sequence,
                         std::size_t& spectral) override;
    /// False beyond the image, and when a chunk cannot be read or written or there is no memory for it.
    [[nodiscard]] bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const override;
    [[nodiscard]] bool writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                  std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                  std::size_t firstSpectralSeries) override;
    /// False: rows have no addresses.
    [[nodiscard]] bool getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const override;
    [[nodiscard]] bool getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                     std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                     std::size_t firstSpectralSeries) const override;
    /// Gives up what the image held. False for a shape whose size does not fit, for a store that cannot be had, and for
    /// an image that is only read, unless it has that shape and type.
    [[nodiscard]] bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                               std::size_t rows, std::size_t planes, std::size_t sequence,
                               std::size_t spectral) override;
    using ImageModelWithHeader::reserve;
    /// Null.
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;

private:
    template <class Copy>
    bool forEachPiece(std::size_t count, const Extents& position, const Copy& copy) const;
    bool open(std::unique_ptr<ChunkStore> store);

    StoreMaker m_maker;
    Extents m_wantedChunk{};
    Extents m_chunk{};
    Extents m_counts{};  ///< of chunks on each axis
    std::size_t m_elementSize = 1;
    bool m_isWritable = true;
    std::unique_ptr<detail::ImageChunks> m_chunks;  ///< null without elements
};

}  // namespace rix::io
