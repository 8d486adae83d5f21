#include <rix/access/Rows.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include <rix/exceptions/Exception.h>
#include <rix/image/RowRefusals.h>
#include <rix/image/SampleMemory.h>

namespace rix::access {

namespace {

/// Writes the elements of a segment by copying.
/// @param joined columns count on through all rows of the image
void writeSegment(ImageModel& image, const RowSegment& segment, ConstRawData elements, bool joined) {
    const std::array<std::size_t, 5> extents = helper::getExtents(image);
    const std::size_t elementSize = helper::getElementSize(image);
    RowSegment part = segment;
    for (std::size_t done = 0; done < segment.count; done += part.count) {
        if (joined) {
            std::size_t line = (segment.column + done) / extents[COLUMNS];
            part.column = (segment.column + done) % extents[COLUMNS];
            part.count = std::min(extents[COLUMNS] - part.column, segment.count - done);
            std::size_t* const coordinates[] = {&part.row, &part.plane, &part.sequence, &part.spectral};
            for (std::size_t axis = ROWS; axis <= SPECTRAL_SERIES; ++axis) {
                *coordinates[axis - 1] = line % extents[axis];
                line /= extents[axis];
            }
        }
        if (!image.writeRowAt(part.count, elements + done * elementSize, part.column, part.row, part.plane,
                              part.sequence, part.spectral)) {
            throwRowError("writeRowAt", image, part);
        }
    }
}

}  // namespace

void throwRowError(const char* operation, const ImageModel& image, const RowSegment& segment) {
    UnexpectedError error(String("Error in ") + operation + " implementation, return value is false");
    std::ostringstream where;
    where << segment.count << " elements at column " << segment.column << ", row " << segment.row << ", plane "
          << segment.plane << ", sequence " << segment.sequence << ", spectral " << segment.spectral << " of "
          << image.getImageId() << ' ' << helper::describeImage(image);
    if (const String reason = helper::takeRowRefusal(); !reason.empty()) {
        error.addInfoLevel(reason);
    }
    error.addInfoLevel(where.str());
    throw error;
}

detail::RowLayout detail::rowLayoutOf(const ImageModel& image) {
    const RowLayout layout{image.getVoxelType(), helper::getElementNumber(image.getElementType()),
                           helper::getElementSize(image), image.getInterpretation() == RIX_BINARY};
    if (layout.elementSize == 0) {
        throw InvalidCall("The rows of image " + helper::describeImage(image) +
                          " cannot be accessed: its elements have no known type.");
    }
    return layout;
}

void detail::convertFrom(const RowLayout& image, ConstRawData from, VoxelTypes toType, RawData to,
                         std::size_t samples) {
    (image.isBinary ? &castSamplesToBinary : &castSamples)(image.voxelType, from, toType, to, samples);
}

void detail::convertTo(const RowLayout& image, VoxelTypes fromType, ConstRawData from, RawData to,
                       std::size_t samples) {
    (image.isBinary ? &castSamplesToBinary : &castSamples)(fromType, from, image.voxelType, to, samples);
}

detail::RowSource::RowSource(const ImageModel& image, bool joined)
    : m_image(image), m_layout(rowLayoutOf(image)), m_line(joined ? helper::contiguousSamples(image) : nullptr) {}

ConstRawData detail::RowSource::read(const RowSegment& segment, RowBuffer& copies) const {
    ConstRawData row = nullptr;
    if (m_line != nullptr) {
        row = m_line + segment.column * m_layout.elementSize;
    } else if (!m_image.getConstRowAt(segment.count, row, segment.column, segment.row, segment.plane, segment.sequence,
                                      segment.spectral)) {
        const RawData copy = copies.reserve(segment.count * m_layout.elementSize);
        if (!m_image.readRowAt(segment.count, copy, segment.column, segment.row, segment.plane, segment.sequence,
                               segment.spectral)) {
            throwRowError("readRowAt", m_image, segment);
        }
        return copy;
    }
    if (!isAligned(row, m_layout.voxelType)) {
        const std::size_t bytes = segment.count * m_layout.elementSize;
        row = static_cast<ConstRawData>(std::memcpy(copies.reserve(bytes), row, bytes));
    }
    return row;
}

detail::RowTarget::RowTarget(ImageModel& image, bool joined)
    : m_image(image),
      m_layout(rowLayoutOf(image)),
      m_joined(joined),
      m_line(joined ? helper::contiguousSamples(image) : nullptr) {}

RawData detail::RowTarget::find(const RowSegment& segment) const {
    if (m_joined) {
        return m_line != nullptr ? m_line + segment.column * m_layout.elementSize : nullptr;
    }
    RawData row = nullptr;
    return m_image.getRowAt(segment.count, row, segment.column, segment.row, segment.plane, segment.sequence,
                            segment.spectral)
               ? row
               : nullptr;
}

void detail::RowTarget::write(const RowSegment& segment, RawData found, ConstRawData elements) {
    if (found != nullptr) {
        std::memcpy(found, elements, segment.count * m_layout.elementSize);
    } else {
        writeSegment(m_image, segment, elements, m_joined);
    }
}

RawData RawRowWriter::open(const RowSegment& segment) {
    m_segment = segment;
    m_found = m_sink.find(segment);
    const bool inPlace = m_found != nullptr && isAligned(m_found, m_sink.layout().voxelType);
    m_row = inPlace ? m_found : m_buffer.reserve(segment.count * m_sink.layout().elementSize);
    m_open.open();
    return m_row;
}

void RawRowWriter::flush() {
    if (m_open.close() && m_row != m_found) {
        m_sink.write(m_segment, m_found, m_row);
    }
}

}  // namespace rix::access
