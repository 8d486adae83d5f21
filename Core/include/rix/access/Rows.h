#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <utility>

#include <rix/Assert.h>
#include <rix/Export.h>
#include <rix/access/PointBlocks.h>
#include <rix/access/SampleCast.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Throws the failure of a row access, with the image and the position as a level of its own.
[[noreturn]] RIX_EXPORT void throwRowError(const char* operation, const ImageModel& image, const RowSegment& segment);

enum class RowKind : std::uint8_t {
    Single,
    Joined  ///< columns count on through all rows of the image, as in the segments of a plan that joins rows
};
/// Writes the elements of a segment by copying. @throws UnexpectedError when the image refuses.
RIX_EXPORT void writeSegment(ImageModel& image, const RowSegment& segment, ConstRawData elements, RowKind kind);

/// Whether samples of a type known at run time may be accessed at an address: buffers of applications may lie anywhere.
inline bool isAligned(const void* address, VoxelTypes type) {
    const std::size_t size = helper::getSizeOf(type);
    const bool pair = type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
    return reinterpret_cast<std::uintptr_t>(address) % (pair ? size / 2 : size) == 0;
}

namespace detail {

/// What readers and writers ask of an image once, not once a row.
struct RowLayout {
    VoxelTypes voxelType;
    std::size_t samples;      ///< an element
    std::size_t elementSize;  ///< in bytes
};
/// @throws InvalidCall for an image whose type is none: its elements have no size.
RIX_EXPORT RowLayout rowLayoutOf(const ImageModel& image);

/// Working memory that only grows.
class RowBuffer {
public:
    /// At least `bytes` bytes; what was there is lost when the buffer grows.
    RawData data(std::size_t bytes) {
        if (m_bytes < bytes || m_scratch.data() == nullptr) {
            m_scratch = Scratch(bytes);
            m_bytes = bytes;
        }
        return m_scratch.data();
    }

private:
    Scratch m_scratch;
    std::size_t m_bytes = 0;
};

/// Notices a row that was opened and never flushed: without a flush, what was computed is lost where the image can't be
/// written in place, and only there.
class OpenRow {
public:
    OpenRow() = default;
    OpenRow(OpenRow&& other) noexcept : m_open(std::exchange(other.m_open, false)), m_exceptions(other.m_exceptions) {}
    OpenRow& operator=(OpenRow&&) = delete;
    ~OpenRow() {
        // A row is left behind rightly when an exception passes.
        RIX_ASSERT(!m_open || std::uncaught_exceptions() > m_exceptions);
    }
    void open() {
        RIX_ASSERT(!m_open);
        m_open = true;
    }
    /// Whether the row was open.
    bool close() { return std::exchange(m_open, false); }

private:
    bool m_open = false;
    int m_exceptions = std::uncaught_exceptions();
};

}  // namespace detail

/// Reads the rows of an image as samples of type `T`: in place when the storage has them in that type and can give an
/// address, else converted into a buffer of the calling thread. Made by the thread that uses it, once a block.
template <class T>
class RowReader {
public:
    /// For segments of a plan.
    RowReader(const ImageModel& image, const PointPlan& plan)
        : RowReader(image, plan.rowsAreJoined() ? image.getImageBuffer() : nullptr) {}
    /// For segments that the caller makes.
    explicit RowReader(const ImageModel& image) : RowReader(image, nullptr) {}

    /// The samples of a segment; valid until the next call. @throws UnexpectedError when the image refuses it.
    const T* read(const RowSegment& segment) {
        const std::size_t bytes = segment.count * m_layout.elementSize;
        ConstRawData row = nullptr;
        if (m_line != nullptr) {
            row = m_line + segment.column * m_layout.elementSize;
        } else if (!m_image.getConstRowAt(segment.count, row, segment.column, segment.row, segment.plane,
                                          segment.sequence, segment.spectral)) {
            row = copy(segment, bytes);
        }
        if (!isAligned(row, m_layout.voxelType)) {
            row = static_cast<ConstRawData>(std::memcpy(m_raw.data(bytes), row, bytes));
        }
        if (m_layout.voxelType == voxelTypeOf<T>) {
            return reinterpret_cast<const T*>(row);
        }
        const std::size_t samples = segment.count * m_layout.samples;
        T* const converted = reinterpret_cast<T*>(m_converted.data(samples * sizeof(T)));
        castRowFrom(m_layout.voxelType, row, converted, samples);
        return converted;
    }

private:
    RowReader(const ImageModel& image, ConstRawData line)
        : m_image(image), m_layout(detail::rowLayoutOf(image)), m_line(line) {}

    ConstRawData copy(const RowSegment& segment, std::size_t bytes) {
        const RawData raw = m_raw.data(bytes);
        if (!m_image.readRowAt(segment.count, raw, segment.column, segment.row, segment.plane, segment.sequence,
                               segment.spectral)) {
            throwRowError("readRowAt", m_image, segment);
        }
        return raw;
    }

    const ImageModel& m_image;
    detail::RowLayout m_layout;
    ConstRawData m_line;  ///< the image as one long line, when rows are joined
    detail::RowBuffer m_raw;
    detail::RowBuffer m_converted;
};

/// Writes the rows of an image as samples of type `T`: in place when possible, else through a buffer of the calling
/// thread that `flush` converts and writes. A row that was opened must be flushed before the next one is opened and
/// before the writer ends; builds with assertions check that for every storage.
template <class T>
class RowWriter {
public:
    /// For segments of a plan.
    RowWriter(ImageModel& image, const PointPlan& plan)
        : RowWriter(image, plan.rowsAreJoined() ? RowKind::Joined : RowKind::Single) {}
    /// For segments that the caller makes.
    explicit RowWriter(ImageModel& image) : RowWriter(image, RowKind::Single) {}

    /// Where the samples of a segment are to be stored. What the memory holds is undefined: it may be the image's own
    /// or a buffer.
    T* open(const RowSegment& segment) {
        m_segment = segment;
        m_target = target(segment);
        m_inPlace =
            m_target != nullptr && m_layout.voxelType == voxelTypeOf<T> && isAligned(m_target, m_layout.voxelType);
        const RawData row = m_inPlace ? m_target : m_buffer.data(segment.count * m_layout.samples * sizeof(T));
        m_row = reinterpret_cast<T*>(row);
        m_open.open();
        return m_row;
    }

    /// Brings the opened segment into the image. @throws UnexpectedError when the image refuses it.
    void flush() {
        if (!m_open.close() || m_inPlace) {
            return;
        }
        const std::size_t samples = m_segment.count * m_layout.samples;
        const std::size_t bytes = m_segment.count * m_layout.elementSize;
        ConstRawData row = reinterpret_cast<ConstRawData>(m_row);
        if (m_layout.voxelType != voxelTypeOf<T>) {
            if (m_target != nullptr && isAligned(m_target, m_layout.voxelType)) {
                castRowTo(m_layout.voxelType, m_row, m_target, samples);
                return;
            }
            const RawData raw = m_raw.data(bytes);
            castRowTo(m_layout.voxelType, m_row, raw, samples);
            row = raw;
        }
        if (m_target != nullptr) {
            std::memcpy(m_target, row, bytes);
        } else {
            writeSegment(m_image, m_segment, row, m_kind);
        }
    }

private:
    RowWriter(ImageModel& image, RowKind kind)
        : m_image(image),
          m_layout(detail::rowLayoutOf(image)),
          m_kind(kind),
          m_line(kind == RowKind::Joined ? image.getImageBuffer() : nullptr) {}

    /// The address of the segment inside the storage, or null.
    RawData target(const RowSegment& segment) const {
        if (m_kind == RowKind::Joined) {
            return m_line != nullptr ? m_line + segment.column * m_layout.elementSize : nullptr;
        }
        RawData row = nullptr;
        return m_image.getRowAt(segment.count, row, segment.column, segment.row, segment.plane, segment.sequence,
                                segment.spectral)
                   ? row
                   : nullptr;
    }

    ImageModel& m_image;
    detail::RowLayout m_layout;
    RowKind m_kind;
    RawData m_line;  ///< the image as one long line, when rows are joined; null where it is for reading only
    RowSegment m_segment;
    RawData m_target = nullptr;
    T* m_row = nullptr;
    bool m_inPlace = false;
    detail::OpenRow m_open;
    detail::RowBuffer m_buffer;
    detail::RowBuffer m_raw;
};

}  // namespace rix::access
