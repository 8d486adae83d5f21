#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <rix/Export.h>
#include <rix/access/PointBlocks.h>
#include <rix/access/SampleCast.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Throws the failure of a row access, with the image and the position as a level of its own.
[[noreturn]] RIX_EXPORT void throwRowError(const char* operation, const ImageModel& image, const RowSegment& segment);

/// Whether samples of a type known at run time may be accessed at an address: buffers of applications may lie anywhere.
inline bool isAligned(const void* address, VoxelTypes type) {
    const std::size_t size = helper::getSizeOf(type);
    const bool pair = type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
    return reinterpret_cast<std::uintptr_t>(address) % (pair ? size / 2 : size) == 0;
}

/// Reads the rows of an image as samples of type `T`: in place when the storage has them in that type and can give an
/// address, else converted into a buffer of the calling thread. Made by the thread that uses it, once a block.
template <class T>
class RowReader {
public:
    RowReader(const ImageModel& image, const PointPlan& plan)
        : m_image(image),
          m_voxelType(image.getVoxelType()),
          m_line(plan.rowsAreJoined() ? image.getImageBuffer() : nullptr),
          m_samples(helper::getElementNumber(image.getElementType())) {}

    /// The samples of a segment; valid until the next call.
    const T* read(const RowSegment& segment) {
        ConstRawData row = nullptr;
        const std::size_t sampleSize = helper::getSizeOf(m_voxelType);
        const std::size_t samples = segment.count * m_samples;
        if (m_line != nullptr) {
            row = m_line + segment.column * m_samples * sampleSize;
        } else if (!m_image.getConstRowAt(segment.count, row, segment.column, segment.row, segment.plane,
                                          segment.sequence, segment.spectral)) {
            row = copy(segment, samples * sampleSize);
        }
        if (!isAligned(row, m_voxelType)) {
            ensure(m_raw, m_rawBytes, samples * sampleSize);
            std::memcpy(m_raw.data(), row, samples * sampleSize);
            row = m_raw.data();
        }
        if (m_voxelType == voxelTypeOf<T>) {
            return reinterpret_cast<const T*>(row);
        }
        T* const buffer = converted(samples);
        castRowFrom(m_voxelType, row, buffer, samples);
        return buffer;
    }

private:
    ConstRawData copy(const RowSegment& segment, std::size_t bytes) {
        ensure(m_raw, m_rawBytes, bytes);
        if (!m_image.readRowAt(segment.count, m_raw.data(), segment.column, segment.row, segment.plane,
                               segment.sequence, segment.spectral)) {
            throwRowError("readRowAt", m_image, segment);
        }
        return m_raw.data();
    }

    T* converted(std::size_t samples) {
        ensure(m_converted, m_convertedBytes, samples * sizeof(T));
        return m_converted.as<T>();
    }

    static void ensure(Scratch& scratch, std::size_t& capacity, std::size_t bytes) {
        if (capacity < bytes || scratch.data() == nullptr) {
            scratch = Scratch(bytes);
            capacity = bytes;
        }
    }

    const ImageModel& m_image;
    VoxelTypes m_voxelType;
    ConstRawData m_line;  ///< the image as one long line, when rows are joined
    std::size_t m_samples;
    Scratch m_raw;
    std::size_t m_rawBytes = 0;
    Scratch m_converted;
    std::size_t m_convertedBytes = 0;
};

/// Writes the rows of an image as samples of type `T`: in place when possible, else through a buffer of the calling
/// thread that `flush` converts and writes. A row that was opened must be flushed before the next one is opened.
template <class T>
class RowWriter {
public:
    RowWriter(ImageModel& image, const PointPlan& plan)
        : m_image(image),
          m_voxelType(image.getVoxelType()),
          m_line(plan.rowsAreJoined() ? image.getImageBuffer() : nullptr),
          m_samples(helper::getElementNumber(image.getElementType())) {}

    /// Where the samples of a segment are to be stored. The memory holds nothing of the image yet.
    T* open(const RowSegment& segment) {
        m_segment = segment;
        m_pending = true;
        m_target = target(segment);
        if (m_target != nullptr && m_voxelType == voxelTypeOf<T> && isAligned(m_target, m_voxelType)) {
            m_pending = false;
            return reinterpret_cast<T*>(m_target);
        }
        const std::size_t bytes = segment.count * m_samples * sizeof(T);
        if (m_bytes < bytes || m_buffer.data() == nullptr) {
            m_buffer = Scratch(bytes);
            m_bytes = bytes;
        }
        return m_buffer.template as<T>();
    }

    /// Brings the opened segment into the image. @throws UnexpectedError when the image refuses it.
    void flush() {
        if (!m_pending) {
            return;
        }
        m_pending = false;
        const std::size_t samples = m_segment.count * m_samples;
        ConstRawData row = m_buffer.data();
        Scratch raw;
        if (m_voxelType != voxelTypeOf<T>) {
            raw = Scratch(samples * helper::getSizeOf(m_voxelType));
            castRowTo(m_voxelType, m_buffer.template as<T>(), raw.data(), samples);
            row = raw.data();
        }
        if (m_target != nullptr) {
            std::memcpy(m_target, row, samples * helper::getSizeOf(m_voxelType));
            return;
        }
        if (!m_image.writeRowAt(m_segment.count, row, m_segment.column, m_segment.row, m_segment.plane,
                                m_segment.sequence, m_segment.spectral)) {
            throwRowError("writeRowAt", m_image, m_segment);
        }
    }

private:
    /// The address of the segment inside the storage, or null.
    RawData target(const RowSegment& segment) const {
        if (m_line != nullptr) {
            return m_line + segment.column * m_samples * helper::getSizeOf(m_voxelType);
        }
        RawData row = nullptr;
        return m_image.getRowAt(segment.count, row, segment.column, segment.row, segment.plane, segment.sequence,
                                segment.spectral)
                   ? row
                   : nullptr;
    }

    ImageModel& m_image;
    VoxelTypes m_voxelType;
    RawData m_line;  ///< the image as one long line, when rows are joined
    std::size_t m_samples;
    RowSegment m_segment;
    bool m_pending = false;
    RawData m_target = nullptr;
    Scratch m_buffer;
    std::size_t m_bytes = 0;
};

}  // namespace rix::access
