#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>

#include <rix/Assert.h>
#include <rix/Export.h>
#include <rix/access/Buffer.h>
#include <rix/access/Plan.h>
#include <rix/access/SampleCast.h>
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

namespace detail {

/// What readers and writers ask of an image once, not once a row.
struct RowLayout {
    VoxelTypes voxelType;
    std::size_t samples;      ///< an element
    std::size_t elementSize;  ///< in bytes
    bool isBinary;            ///< whatever differs from 0 counts as 1
};
/// @throws InvalidCall for an image whose type is none: its elements have no size.
RIX_EXPORT RowLayout rowLayoutOf(const ImageModel& image);

/// Converts samples of an image, aligned for their type, into those of another type; or the other way round. To and
/// from a binary image they become 0 and 1, also where both types are the same.
RIX_EXPORT void convertFrom(const RowLayout& image, ConstRawData from, VoxelTypes toType, RawData to,
                            std::size_t samples);
RIX_EXPORT void convertTo(const RowLayout& image, VoxelTypes fromType, ConstRawData from, RawData to,
                          std::size_t samples);

using RowBuffer = Buffer<std::uint8_t>;

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

/// The rows of an image as the bytes that it holds.
class RIX_EXPORT RowSource {
public:
    /// @param joined segments count on through all rows of the image, as those of a plan that joins rows
    RowSource(const ImageModel& image, bool joined);
    const RowLayout& layout() const { return m_layout; }
    /// The samples of a segment, aligned for their type: the image's own memory, or a copy in the buffer.
    ConstRawData read(const RowSegment& segment, RowBuffer& copies) const;

private:
    const ImageModel& m_image;
    RowLayout m_layout;
    ConstRawData m_line;  ///< the image as one long line, when rows are joined
};

/// The same for writing.
class RIX_EXPORT RowTarget {
public:
    RowTarget(ImageModel& image, bool joined);
    const RowLayout& layout() const { return m_layout; }
    /// The address of a segment inside the storage, or null; aligned for its type or not.
    RawData find(const RowSegment& segment) const;
    /// Brings elements into the image. @param found what `find` gave
    void write(const RowSegment& segment, RawData found, ConstRawData elements);

private:
    ImageModel& m_image;
    RowLayout m_layout;
    bool m_joined;
    RawData m_line;  ///< as that of a source; null also where it is for reading only
};

}  // namespace detail

/// Reads the rows of an image as the bytes that it holds: in place when the storage can give an address, else copied
/// into a buffer. For bodies that are compiled once for several types and convert samples themselves. Made by the
/// thread that uses it, once a block; the image outlives it.
class RawRowReader {
public:
    RawRowReader(const ImageModel& image, const Plan& plan) : m_source(image, plan.rowsAreJoined()) {}
    /// The samples of a segment, aligned for their type; valid until the next call.
    /// @throws UnexpectedError when the image refuses to be read.
    ConstRawData read(const RowSegment& segment) { return m_source.read(segment, m_copies); }

private:
    detail::RowSource m_source;
    detail::RowBuffer m_copies;
};

/// What a reader makes of a binary image that holds other values than 0 and 1.
enum class BinarySamples : std::uint8_t {
    ZeroOrOne,  ///< 1 for whatever differs from 0; binary rows are copied then
    AsStored    ///< for who asks of a sample only whether it is 0
};

/// Reads the rows of an image as samples of type `T`: in place when the storage has them in that type and can give an
/// address, else converted into a buffer. The samples of a binary image are 0 and 1. Made by the thread that uses it,
/// once a block; the image outlives it.
/// @tparam Slots how many rows are valid at a time, as rows that enter a window and rows that leave it
template <class T, std::size_t Slots = 1>
class RowReader {
public:
    /// For segments of a plan.
    RowReader(const ImageModel& image, const Plan& plan, BinarySamples binary = BinarySamples::ZeroOrOne)
        : m_source(image, plan.rowsAreJoined()),
          m_converts(m_source.layout().voxelType != voxelTypeOf<T> ||
                     (m_source.layout().isBinary && binary == BinarySamples::ZeroOrOne)) {}
    /// For segments that the caller makes.
    explicit RowReader(const ImageModel& image)
        : m_source(image, false),
          m_converts(m_source.layout().voxelType != voxelTypeOf<T> || m_source.layout().isBinary) {}

    /// The samples of a segment; valid until the next call for the same slot.
    /// @throws UnexpectedError when the image refuses to be read.
    const T* read(const RowSegment& segment, std::size_t slot = 0) {
        const ConstRawData row = m_source.read(segment, m_raw[slot]);
        if (!m_converts) {
            return reinterpret_cast<const T*>(row);
        }
        const std::size_t samples = segment.count * m_source.layout().samples;
        const RawData converted = m_converted[slot].reserve(samples * sizeof(T));
        detail::convertFrom(m_source.layout(), row, voxelTypeOf<T>, converted, samples);
        return reinterpret_cast<const T*>(converted);
    }

private:
    detail::RowSource m_source;
    bool m_converts;
    std::array<detail::RowBuffer, Slots> m_raw;
    std::array<detail::RowBuffer, Slots> m_converted;
};

/// Writes the rows of an image as bytes of its own type: in place when possible, else through a buffer that `flush`
/// writes. A row that was opened must be flushed before the next one is opened and before the writer ends; builds with
/// assertions check that for every storage.
class RIX_EXPORT RawRowWriter {
public:
    RawRowWriter(ImageModel& image, const Plan& plan) : m_sink(image, plan.rowsAreJoined()) {}
    /// Where the samples of a segment are to be stored, aligned for their type. The memory may be that of the image
    /// or not; in the second case it holds nothing of the image yet.
    RawData open(const RowSegment& segment);
    /// Brings the opened segment into the image. @throws UnexpectedError when the image refuses it.
    void flush();

private:
    detail::RowTarget m_sink;
    RowSegment m_segment;
    RawData m_found = nullptr;
    RawData m_row = nullptr;
    detail::OpenRow m_open;
    detail::RowBuffer m_buffer;
};

/// Writes the rows of an image as samples of type `T`: in place when possible, else through a buffer that `flush`
/// converts and writes; values of another type become 0 and 1 in a binary image. A row that was opened must be flushed
/// before the next one is opened in the same slot and before the writer ends; builds with assertions check that for
/// every storage.
/// @tparam Slots how many rows may be open at a time
template <class T, std::size_t Slots = 1>
class RowWriter {
public:
    /// For segments of a plan.
    RowWriter(ImageModel& image, const Plan& plan) : m_sink(image, plan.rowsAreJoined()) {}
    /// For segments that the caller makes.
    explicit RowWriter(ImageModel& image) : m_sink(image, false) {}

    /// Where the samples of a segment are to be stored. What the memory holds is undefined: it may be the image's own
    /// or a buffer.
    T* open(const RowSegment& segment, std::size_t slot = 0) {
        Slot& row = m_slots[slot];
        const detail::RowLayout& layout = m_sink.layout();
        row.segment = segment;
        row.found = m_sink.find(segment);
        row.inPlace =
            row.found != nullptr && layout.voxelType == voxelTypeOf<T> && isAligned(row.found, layout.voxelType);
        row.data = reinterpret_cast<T*>(row.inPlace ? row.found
                                                    : row.buffer.reserve(segment.count * layout.samples * sizeof(T)));
        row.open.open();
        return row.data;
    }

    /// Brings the opened segment into the image. @throws UnexpectedError when the image refuses it.
    void flush(std::size_t slot = 0) {
        Slot& row = m_slots[slot];
        if (!row.open.close() || row.inPlace) {
            return;
        }
        const detail::RowLayout& layout = m_sink.layout();
        if (layout.voxelType == voxelTypeOf<T>) {
            m_sink.write(row.segment, row.found, reinterpret_cast<ConstRawData>(row.data));
            return;
        }
        const std::size_t samples = row.segment.count * layout.samples;
        if (row.found != nullptr && isAligned(row.found, layout.voxelType)) {
            detail::convertTo(layout, voxelTypeOf<T>, reinterpret_cast<ConstRawData>(row.data), row.found, samples);
            return;
        }
        const RawData raw = m_raw.reserve(row.segment.count * layout.elementSize);
        detail::convertTo(layout, voxelTypeOf<T>, reinterpret_cast<ConstRawData>(row.data), raw, samples);
        m_sink.write(row.segment, row.found, raw);
    }

private:
    struct Slot {
        RowSegment segment;
        RawData found = nullptr;
        T* data = nullptr;
        bool inPlace = false;
        detail::OpenRow open;
        detail::RowBuffer buffer;
    };

    detail::RowTarget m_sink;
    std::array<Slot, Slots> m_slots;
    detail::RowBuffer m_raw;
};

}  // namespace rix::access
