#include <rix/access/RawRows.h>

#include <cstring>

namespace rix::access {

RawRowReader::RawRowReader(const ImageModel& image, const PointPlan& plan)
    : m_image(image),
      m_layout(detail::rowLayoutOf(image)),
      m_line(plan.rowsAreJoined() ? image.getImageBuffer() : nullptr) {}

ConstRawData RawRowReader::read(const RowSegment& segment) {
    const std::size_t bytes = segment.count * m_layout.elementSize;
    ConstRawData row = nullptr;
    if (m_line != nullptr) {
        row = m_line + segment.column * m_layout.elementSize;
    } else if (!m_image.getConstRowAt(segment.count, row, segment.column, segment.row, segment.plane, segment.sequence,
                                      segment.spectral)) {
        const RawData copy = m_buffer.data(bytes);
        if (!m_image.readRowAt(segment.count, copy, segment.column, segment.row, segment.plane, segment.sequence,
                               segment.spectral)) {
            throwRowError("readRowAt", m_image, segment);
        }
        return copy;
    }
    if (!isAligned(row, m_layout.voxelType)) {
        row = static_cast<ConstRawData>(std::memcpy(m_buffer.data(bytes), row, bytes));
    }
    return row;
}

RawRowWriter::RawRowWriter(ImageModel& image, const PointPlan& plan)
    : m_image(image),
      m_layout(detail::rowLayoutOf(image)),
      m_kind(plan.rowsAreJoined() ? RowKind::Joined : RowKind::Single),
      m_line(plan.rowsAreJoined() ? image.getImageBuffer() : nullptr) {}

RawData RawRowWriter::target(const RowSegment& segment) const {
    if (m_kind == RowKind::Joined) {
        return m_line != nullptr ? m_line + segment.column * m_layout.elementSize : nullptr;
    }
    RawData row = nullptr;
    return m_image.getRowAt(segment.count, row, segment.column, segment.row, segment.plane, segment.sequence,
                            segment.spectral)
               ? row
               : nullptr;
}

RawData RawRowWriter::open(const RowSegment& segment) {
    m_segment = segment;
    m_target = target(segment);
    const bool inPlace = m_target != nullptr && isAligned(m_target, m_layout.voxelType);
    m_row = inPlace ? m_target : m_buffer.data(segment.count * m_layout.elementSize);
    m_open.open();
    return m_row;
}

void RawRowWriter::flush() {
    if (!m_open.close() || m_row == m_target) {
        return;
    }
    if (m_target != nullptr) {
        std::memcpy(m_target, m_row, m_segment.count * m_layout.elementSize);
    } else {
        writeSegment(m_image, m_segment, m_row, m_kind);
    }
}

}  // namespace rix::access
