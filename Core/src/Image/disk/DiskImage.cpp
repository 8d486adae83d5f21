#include <rix/image/DiskImage.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/image/RowRefusals.h>

#include "Image/ViewChecks.h"
#include "Image/disk/ImageChunks.h"
#include "Image/disk/ScratchStore.h"

namespace rix::io {

namespace {

using Extents = DiskImage::Extents;

/// Some 256 Ki elements: flat in planes, blocks in volumes, so that lines along every axis meet few of them.
Extents usualChunk(const Extents& image) {
    return image[PLANS] == 1 ? Extents{1024, 256, 1, 1, 1} : Extents{128, 64, 32, 1, 1};
}

Extents chunkFor(const Extents& image, const Extents& wanted) {
    Extents chunk = wanted;
    for (std::size_t axis = 0; axis < chunk.size(); ++axis) {
        chunk[axis] = chunk[axis] == 0 ? usualChunk(image)[axis] : chunk[axis];
        chunk[axis] = std::clamp<std::size_t>(chunk[axis], 1, std::max<std::size_t>(image[axis], 1));
    }
    return chunk;
}

/// How many chunks there are and how many bytes each has; false when the whole fits no file.
bool measure(const Extents& image, const Extents& chunk, std::size_t elementSize, Extents& counts, std::size_t& chunks,
             std::size_t& bytes) {
    for (std::size_t axis = 0; axis < counts.size(); ++axis) {
        counts[axis] = image[axis] / chunk[axis] + (image[axis] % chunk[axis] != 0 ? 1 : 0);
    }
    std::size_t all = 0;
    return elementSize != 0 && helper::multiplyExtents(counts, chunks) && helper::multiplyExtents(chunk, bytes) &&
           helper::checkedMultiply(bytes, elementSize, bytes) && helper::checkedMultiply(chunks, bytes, all) &&
           all <= static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max());
}

}  // namespace

DiskImage::DiskImage() : ImageModelWithHeader({}) {}

DiskImage::DiskImage(StoreMaker maker, const Extents& chunk)
    : ImageModelWithHeader({}), m_maker(std::move(maker)), m_wantedChunk(chunk) {}

DiskImage::DiskImage(std::unique_ptr<ChunkStore> store, const ImageHeader& header, const Extents& chunk)
    : ImageModelWithHeader(header), m_wantedChunk(chunk), m_isWritable(false) {
    if (std::find(chunk.begin(), chunk.end(), std::size_t{0}) != chunk.end() || !open(std::move(store))) {
        throw InvalidCall("The chunks of image " + helper::describeImage(*this) +
                          " have no size that a file can have.");
    }
}

DiskImage::~DiskImage() = default;

bool DiskImage::open(std::unique_ptr<ChunkStore> store) {
    m_chunks.reset();
    m_chunk = m_isWritable ? chunkFor(m_header.extents, m_wantedChunk) : m_wantedChunk;
    m_elementSize = helper::getElementSize(*this);
    std::size_t count = 0;
    std::size_t bytes = 0;
    if (!measure(m_header.extents, m_chunk, m_elementSize, m_counts, count, bytes)) {
        return false;
    }
    if (count == 0) {
        return true;
    }
    if (store == nullptr) {
        store = m_maker ? m_maker(m_header, m_chunk) : detail::makeScratchStore(count, bytes);
    }
    m_chunks = std::make_unique<detail::ImageChunks>(std::move(store), count, bytes);
    return true;
}

bool DiskImage::reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                        std::size_t rows, std::size_t planes, std::size_t sequence, std::size_t spectral) {
    const Extents extents{columns, rows, planes, sequence, spectral};
    const bool isSame =
        elementType == m_header.elementType && voxelType == m_header.voxelType && extents == m_header.extents;
    if (!m_isWritable) {
        return isSame;
    }
    m_header.elementType = elementType;
    m_header.voxelType = voxelType;
    m_header.extents = extents;
    try {
        if (open(nullptr)) {
            return true;
        }
        helper::noteRowRefusal("An image of this size fits no file.");
    } catch (const std::exception& failure) {
        helper::noteRowRefusal(failure.what());
    }
    m_header.extents = {};
    return false;
}

void DiskImage::flush() {
    if (m_chunks != nullptr && m_isWritable) {
        m_chunks->flush();
    }
}

void DiskImage::close() {
    if (m_chunks != nullptr && m_isWritable && m_maker) {
        m_chunks->flush();
        m_chunks->store().finish(m_header);
    }
    m_chunks.reset();
    m_header.extents = {};
}

bool DiskImage::isOnDisk() const {
    return true;
}

bool DiskImage::getPreferedSize(std::size_t& columns, std::size_t& rows, std::size_t& planes, std::size_t& sequence,
                                std::size_t& spectral) {
    if (m_chunks == nullptr) {
        return false;
    }
    columns = m_chunk[COLUMNS];
    rows = m_chunk[ROWS];
    planes = m_chunk[PLANS];
    sequence = m_chunk[SEQUENCE];
    spectral = m_chunk[SPECTRAL_SERIES];
    return true;
}

/// Calls `copy(chunk, elements that it has within the image, first byte in it, first element of the run, elements)` for
/// the pieces of a run of elements, a chunk each. @return whether the run is inside the image and no copy failed
template <class Copy>
bool DiskImage::forEachPiece(std::size_t count, const Extents& position, const Copy& copy) const {
    if (m_chunks == nullptr) {
        return false;
    }
    const auto& n = m_header.extents;
    bool isInside = rix::detail::fits(count, position[COLUMNS], n[COLUMNS]);
    std::size_t firstChunk = 0;
    std::size_t firstElement = 0;
    std::size_t inImage = 1;
    for (std::size_t axis = RIX_COMPONENTS_SIZE; axis-- > ROWS;) {
        isInside = isInside && position[axis] < n[axis];
        const std::size_t chunk = position[axis] / m_chunk[axis];
        firstChunk = firstChunk * m_counts[axis] + chunk;
        firstElement = firstElement * m_chunk[axis] + position[axis] % m_chunk[axis];
        inImage *= isInside ? std::min(m_chunk[axis], n[axis] - chunk * m_chunk[axis]) : 0;
    }
    if (!isInside) {
        return false;
    }
    try {
        for (std::size_t done = 0; done < count;) {
            const std::size_t column = position[COLUMNS] + done;
            const std::size_t chunk = column / m_chunk[COLUMNS];
            const std::size_t within = column % m_chunk[COLUMNS];
            const std::size_t part = std::min(m_chunk[COLUMNS] - within, count - done);
            copy(firstChunk * m_counts[COLUMNS] + chunk,
                 inImage * std::min(m_chunk[COLUMNS], n[COLUMNS] - chunk * m_chunk[COLUMNS]),
                 (firstElement * m_chunk[COLUMNS] + within) * m_elementSize, done, part);
            done += part;
        }
        return true;
    } catch (const std::exception& failure) {
        helper::noteRowRefusal(failure.what());
        return false;
    }
}

bool DiskImage::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                          std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    return forEachPiece(nbElement, {firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries},
                        [&](std::size_t chunk, std::size_t, std::size_t byte, std::size_t done, std::size_t count) {
                            const detail::ImageChunks::Use use(*m_chunks, chunk);
                            std::memcpy(buffer + done * m_elementSize, use.samples() + byte, count * m_elementSize);
                        });
}

bool DiskImage::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols, std::size_t firstRows,
                           std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) {
    if (!m_isWritable) {
        helper::noteRowRefusal("The image on disk is for reading.");
        return false;
    }
    if (const String failure = m_chunks != nullptr ? m_chunks->failure() : String(); !failure.empty()) {
        helper::noteRowRefusal(failure);
        return false;
    }
    return forEachPiece(nbElement, {firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries},
                        [&](std::size_t chunk, std::size_t all, std::size_t byte, std::size_t done, std::size_t count) {
                            detail::ImageChunks::Use use(*m_chunks, chunk);
                            use.change(count, all);
                            std::memcpy(use.samples() + byte, buffer + done * m_elementSize, count * m_elementSize);
                        });
}

bool DiskImage::getRowAt(std::size_t, RawData&, std::size_t, std::size_t, std::size_t, std::size_t, std::size_t) const {
    return false;
}

bool DiskImage::getConstRowAt(std::size_t, ConstRawData&, std::size_t, std::size_t, std::size_t, std::size_t,
                              std::size_t) const {
    return false;
}

ConstRawData DiskImage::getImageBuffer() const {
    return nullptr;
}

RawData DiskImage::getImageBuffer() {
    return nullptr;
}

}  // namespace rix::io
