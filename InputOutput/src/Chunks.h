#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <memory>

#include <rix/image/ChunkStore.h>
#include <rix/io/ChunkedFile.h>

#include "Codec.h"

namespace rix::io {

using Extents = DiskImage::Extents;

/// An image in a file of chunks, found and understood; none of its samples was read.
struct ChunkedImage {
    ImageFileInfo info;  ///< of the whole image
    Extents chunk{};     ///< extents of the chunks, which may reach beyond the image
    std::unique_ptr<ChunkStore> store;
};

/// What a format can do that finds parts of an image by themselves.
struct ChunkedAccess {
    /// Whether there is an image of it at a path that is no file: in a folder, or at a place within a file; null for a
    /// format of files.
    bool (*isAt)(const std::filesystem::path& path);
    /// Whether a path is the name of an image beyond what extensions tell; null when these tell everything.
    bool (*hasName)(const std::filesystem::path& path);
    ChunkedImage (*open)(const std::filesystem::path& path, const ReadOptions& options);
    /// A store whose file appears under the path when it is finished; null for a format that is written from the first
    /// sample to the last.
    std::unique_ptr<ChunkStore> (*create)(const std::filesystem::path& path, const ImageHeader& header,
                                          const Extents& chunk, const WriteOptions& options);
    /// The file that a path of the format's images leads into; null where they are the paths themselves.
    std::filesystem::path (*fileOf)(const std::filesystem::path& path) = nullptr;
};

/// Chunks that are there to be read.
class ReadOnlyStore : public ChunkStore {
public:
    void write(std::size_t chunk, ConstRawData samples) final;
    void finish(const ImageHeader& header) final;
};

/// How an image lies in chunks.
class ChunkGrid {
public:
    struct Box {
        Extents first{};
        Extents count{};  ///< within the image
    };

    ChunkGrid(const Extents& image, const Extents& chunk);

    std::size_t chunks() const { return m_chunks; }
    const Extents& counts() const { return m_counts; }
    const Extents& chunk() const { return m_chunk; }
    /// Elements of a chunk, those beyond the image too.
    std::size_t elements() const { return m_elements; }
    /// Where a chunk lies on each axis, in chunks.
    Extents placeOf(std::size_t chunk) const;
    Box boxOf(std::size_t chunk) const;
    /// Calls `visit(chunk)` for the chunks that have some of a box of the image, in their order.
    template <class Visit>
    void forEachIn(const Box& box, const Visit& visit) const;

private:
    Extents m_image;
    Extents m_chunk;
    Extents m_counts{};
    std::size_t m_chunks = 1;
    std::size_t m_elements = 1;
};

template <class Visit>
void ChunkGrid::forEachIn(const Box& box, const Visit& visit) const {
    Extents first{};
    Extents count{};
    std::size_t chunks = 1;
    for (std::size_t axis = 0; axis < first.size(); ++axis) {
        first[axis] = box.first[axis] / m_chunk[axis];
        count[axis] = (box.first[axis] + box.count[axis] - 1) / m_chunk[axis] + 1 - first[axis];
        chunks *= count[axis];
    }
    for (std::size_t i = 0; i < chunks; ++i) {
        std::size_t chunk = 0;
        std::size_t rest = i;
        std::size_t step = 1;
        for (std::size_t axis = 0; axis < first.size(); ++axis) {
            chunk += (first[axis] + rest % count[axis]) * step;
            rest /= count[axis];
            step *= m_counts[axis];
        }
        visit(chunk);
    }
}

/// Calls `row(position, elements, index of the first one in the chunk)` for the rows that a box has in its chunk.
template <class Row>
void forEachRow(const ChunkGrid::Box& box, const Extents& chunk, const Row& row) {
    const auto& [first, n] = box;
    for (std::size_t c = 0; c < n[SPECTRAL_SERIES]; ++c) {
        for (std::size_t t = 0; t < n[SEQUENCE]; ++t) {
            for (std::size_t z = 0; z < n[PLANS]; ++z) {
                for (std::size_t y = 0; y < n[ROWS]; ++y) {
                    const std::size_t index =
                        (((c * chunk[SEQUENCE] + t) * chunk[PLANS] + z) * chunk[ROWS] + y) * chunk[COLUMNS];
                    row(Place{first[COLUMNS], first[ROWS] + y, first[PLANS] + z, first[SEQUENCE] + t,
                              first[SPECTRAL_SERIES] + c},
                        n[COLUMNS], index);
                }
            }
        }
    }
}

/// The most chunks that an image is taken for, whose table in memory has some 2 GiB then.
inline constexpr std::size_t MostChunks = std::size_t{1} << 24U;
/// The most bytes that a chunk may have, which is what compressors can hold in one piece.
inline constexpr std::size_t LargestChunk = 0x7FFFFFEFU;

/// Refuses chunks and numbers of them that memory could not be had for.
/// @param sampleBytes of an element, in the file or in memory, whatever is more
/// @throws LoadingError
void checkChunks(const Extents& image, const Extents& chunk, std::size_t sampleBytes, const ReadOptions& options);
/// Refuses a chunk of so many bytes.
/// @throws LoadingError
void checkChunkBytes(std::size_t bytes, const ReadOptions& options);

/// Reads what is selected, each chunk that has some of it once. @throws LoadingError, MemoryError
std::unique_ptr<MemoryImage> readChunks(ChunkedImage& file, const ReadOptions& options);
/// Fills the memory of a chunk out of an image of which the first element lies at `origin`; 0 beyond the grid's image.
/// @throws WritingError
void fillChunk(const ChunkGrid& grid, std::size_t chunk, const ImageModel& image, const Extents& origin,
               std::uint8_t* samples);
/// Writes an image chunk by chunk and finishes the store. @throws WritingError
void writeChunks(ChunkStore& store, const Extents& chunk, const ImageModel& image);

/// The extents of chunks that the options ask for, 0 for the usual ones; planes go one by one in tiles.
Extents chunkFor(const WriteOptions& options);
/// Chunks of about a MiB, cut to the image, on axes where none are wanted (0).
Extents usualChunks(const Extents& image, const Extents& wanted);

}  // namespace rix::io
