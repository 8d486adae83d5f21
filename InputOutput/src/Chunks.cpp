#include "Chunks.h"

#include <algorithm>
#include <cstring>
#include <new>

#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>

#include "SampleRows.h"

namespace rix::io {
namespace {

std::unique_ptr<std::uint8_t[]> memoryFor(std::size_t bytes) {
    std::unique_ptr<std::uint8_t[]> memory(new (std::nothrow) std::uint8_t[bytes]);
    if (memory == nullptr) {
        throw MemoryError("There is not enough memory for a chunk of " + std::to_string(bytes) + " bytes.");
    }
    return memory;
}

}  // namespace

void ReadOnlyStore::write(std::size_t, ConstRawData) {
    throw WritingError("The image is for reading.");
}

void ReadOnlyStore::finish(const ImageHeader&) {}

ChunkGrid::ChunkGrid(const Extents& image, const Extents& chunk) : m_image(image), m_chunk(chunk) {
    for (std::size_t axis = 0; axis < image.size(); ++axis) {
        m_counts[axis] = image[axis] / chunk[axis] + (image[axis] % chunk[axis] != 0 ? 1 : 0);
        m_chunks *= m_counts[axis];
        m_elements *= chunk[axis];
    }
}

Extents ChunkGrid::placeOf(std::size_t chunk) const {
    Extents place{};
    for (std::size_t axis = 0; axis < place.size(); ++axis) {
        place[axis] = chunk % m_counts[axis];
        chunk /= m_counts[axis];
    }
    return place;
}

ChunkGrid::Box ChunkGrid::boxOf(std::size_t chunk) const {
    Box box;
    const Extents place = placeOf(chunk);
    for (std::size_t axis = 0; axis < place.size(); ++axis) {
        box.first[axis] = place[axis] * m_chunk[axis];
        box.count[axis] = std::min(m_chunk[axis], m_image[axis] - box.first[axis]);
    }
    return box;
}

void checkChunks(const Extents& image, const Extents& chunk, std::size_t sampleBytes, const ReadOptions& options) {
    std::size_t count = 1;
    std::size_t bytes = sampleBytes;
    bool fits = true;
    for (std::size_t axis = 0; axis < image.size(); ++axis) {
        if (image[axis] == 0 || chunk[axis] == 0) {
            throw LoadingError("The image is empty: one of the extents of it or its chunks is 0.");
        }
        const std::size_t onAxis = image[axis] / chunk[axis] + (image[axis] % chunk[axis] != 0 ? 1 : 0);
        fits = fits && helper::checkedMultiply(count, onAxis, count) && count <= MostChunks;
        fits = fits && helper::checkedMultiply(bytes, chunk[axis], bytes) && bytes <= LargestChunk;
    }
    if (!fits) {
        throw LoadingError("The image promises chunks of more than " + std::to_string(LargestChunk) +
                           " bytes, or more than " + std::to_string(MostChunks) + " of them.");
    }
    checkChunkBytes(bytes, options);
}

void checkChunkBytes(std::size_t bytes, const ReadOptions& options) {
    const std::size_t limit = mostBytes(options);
    if (bytes > LargestChunk || (limit != 0 && bytes > limit)) {
        throw LoadingError("A chunk of the image takes " + std::to_string(bytes) + " bytes of memory; at most " +
                           (limit != 0 && limit < LargestChunk
                                ? std::to_string(limit) + " are allowed (RIX_MAXIMUM_IMAGE_SIZE)."
                                : std::to_string(LargestChunk) + " can be read."));
    }
}

std::unique_ptr<MemoryImage> readChunks(ChunkedImage& file, const ReadOptions& options) {
    ImageFileInfo part = file.info;
    applyOptions(options, part);
    std::size_t bytes = helper::getSizeOf(part.voxelType);
    for (const std::size_t extent : part.extents) {
        bytes *= extent;
    }
    // Chunks that are missing promise samples without any bytes in the file.
    if (const std::size_t memory = devices::Cpu::memory(); memory != 0 && bytes > memory) {
        throw LoadingError("The samples take " + std::to_string(bytes) + " bytes, and this machine has " +
                           std::to_string(memory) + " of memory: select a part, or open the image on disk.");
    }
    PartialImage image(file.info, options);
    const ChunkGrid grid(file.info.extents, file.chunk);
    const std::size_t sampleBytes = helper::getSizeOf(file.info.voxelType);
    const auto samples = memoryFor(grid.elements() * sampleBytes);
    InterruptPoint interrupt(options.interrupted);
    ChunkGrid::Box keptBox;
    for (std::size_t axis = 0; axis < keptBox.first.size(); ++axis) {
        const Indices kept = image.kept(static_cast<Components>(axis));
        keptBox.first[axis] = kept.first;
        keptBox.count[axis] = kept.count;
    }
    grid.forEachIn(keptBox, [&](std::size_t index) {
        const bool isThere = file.store->read(index, samples.get());
        const ChunkGrid::Box box = grid.boxOf(index);
        if (!isThere) {
            std::memset(samples.get(), 0, box.count[COLUMNS] * sampleBytes);
        }
        forEachRow(box, file.chunk, [&](const Place& place, std::size_t elements, std::size_t element) {
            image.put(samples.get() + (isThere ? element * sampleBytes : 0), 1, place, elements);
        });
        interrupt.pass(grid.elements() * sampleBytes);
    });
    return image.release();
}

void fillChunk(const ChunkGrid& grid, std::size_t chunk, const ImageModel& image, const Extents& origin,
               std::uint8_t* samples) {
    const std::size_t sampleBytes = helper::getSizeOf(image.getVoxelType());
    const ChunkGrid::Box box = grid.boxOf(chunk);
    if (box.count != grid.chunk()) {
        std::memset(samples, 0, grid.elements() * sampleBytes);
    }
    forEachRow(box, grid.chunk(), [&](const Place& place, std::size_t elements, std::size_t element) {
        readRow(image, samples + element * sampleBytes, elements, place.column - origin[COLUMNS],
                place.row - origin[ROWS], place.plane - origin[PLANS], place.frame - origin[SEQUENCE],
                place.channel - origin[SPECTRAL_SERIES]);
    });
}

void writeChunks(ChunkStore& store, const Extents& chunk, const ImageModel& image) {
    const ChunkGrid grid(helper::getExtents(image), chunk);
    const auto samples = memoryFor(grid.elements() * helper::getSizeOf(image.getVoxelType()));
    for (std::size_t index = 0; index < grid.chunks(); ++index) {
        fillChunk(grid, index, image, {}, samples.get());
        store.write(index, samples.get());
    }
    store.finish(helper::headerOf(image));
}

Extents chunkFor(const WriteOptions& options) {
    const bool areTiles = options.tileColumns != 0 || options.tileRows != 0;
    return {options.tileColumns, options.tileRows, areTiles ? 1U : 0U, 0, 0};
}

Extents usualChunks(const Extents& image, const Extents& wanted) {
    const Extents usual = image[PLANS] == 1 ? Extents{1024, 256, 1, 1, 1} : Extents{128, 64, 32, 1, 1};
    Extents chunk{};
    for (std::size_t axis = 0; axis < chunk.size(); ++axis) {
        chunk[axis] = std::clamp<std::size_t>(wanted[axis] == 0 ? usual[axis] : wanted[axis], 1, image[axis]);
    }
    return chunk;
}

}  // namespace rix::io
