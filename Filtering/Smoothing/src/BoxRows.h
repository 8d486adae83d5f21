#pragma once

#include <array>
#include <cstddef>
#include <cstring>

#include <rix/access/PointBlocks.h>
#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageModel.h>

namespace rix::filtering::smoothing {

/// A working buffer of a thread that is made once and grows when it has to.
template <class T>
class BoxBuffer {
public:
    T* reserve(std::size_t count) {
        if (m_count < count || m_scratch.data() == nullptr) {
            std::size_t bytes = 0;
            if (!helper::checkedMultiply(count, sizeof(T), bytes)) {
                throw MemoryError("The size of a working buffer does not fit 64 bits.");
            }
            m_scratch = access::Scratch(bytes);
            m_count = count;
        }
        return data();
    }
    T* data() const { return m_scratch.as<T>(); }

private:
    access::Scratch m_scratch;
    std::size_t m_count = 0;
};

/// Gives rows of an image that holds samples of type `T`, several at a time: the image's own memory, or copies where
/// the storage has no addresses.
/// @tparam Slots how many rows are valid at a time
template <class T, std::size_t Slots>
class BoxInputRows {
public:
    explicit BoxInputRows(const ImageModel& image) : m_image(image) {}

    const T* read(std::size_t slot, const access::RowSegment& segment) {
        ConstRawData row = nullptr;
        const bool addressed = m_image.getConstRowAt(segment.count, row, segment.column, segment.row, segment.plane,
                                                     segment.sequence, segment.spectral);
        if (addressed && access::isAligned(row, access::voxelTypeOf<T>)) {
            return reinterpret_cast<const T*>(row);
        }
        T* const buffer = m_buffers[slot].reserve(segment.count);
        if (addressed) {
            std::memcpy(buffer, row, segment.count * sizeof(T));
        } else if (!m_image.readRowAt(segment.count, reinterpret_cast<RawData>(buffer), segment.column, segment.row,
                                      segment.plane, segment.sequence, segment.spectral)) {
            access::throwRowError("readRowAt", m_image, segment);
        }
        return buffer;
    }

private:
    const ImageModel& m_image;
    std::array<BoxBuffer<T>, Slots> m_buffers;
};

/// Takes rows of an image that holds samples of type `T`; a row that was opened has to be flushed.
template <class T, std::size_t Slots>
class BoxOutputRows {
public:
    explicit BoxOutputRows(ImageModel& image) : m_image(image) {}

    /// Where the samples of a segment are to be stored.
    T* open(std::size_t slot, const access::RowSegment& segment) {
        RawData row = nullptr;
        m_direct[slot] = m_image.getRowAt(segment.count, row, segment.column, segment.row, segment.plane,
                                          segment.sequence, segment.spectral) &&
                         access::isAligned(row, access::voxelTypeOf<T>);
        return m_direct[slot] ? reinterpret_cast<T*>(row) : m_buffers[slot].reserve(segment.count);
    }

    /// Brings the row into the image. @throws UnexpectedError when the image refuses it.
    void flush(std::size_t slot, const access::RowSegment& segment) {
        if (!m_direct[slot] &&
            !m_image.writeRowAt(segment.count, reinterpret_cast<RawData>(m_buffers[slot].data()), segment.column,
                                segment.row, segment.plane, segment.sequence, segment.spectral)) {
            access::throwRowError("writeRowAt", m_image, segment);
        }
    }

private:
    ImageModel& m_image;
    std::array<BoxBuffer<T>, Slots> m_buffers;
    std::array<bool, Slots> m_direct{};
};

}  // namespace rix::filtering::smoothing
