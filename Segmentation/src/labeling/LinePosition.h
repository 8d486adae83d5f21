#pragma once

#include <cstddef>

#include <rix/access/PointBlocks.h>
#include <rix/image/ImageModel.h>

namespace rix::segmentation {

/// Finds the place of a whole line, given by its number in storage order, for the row readers and writers.
class LinePosition {
public:
    /// @param plan the one that the reader or writer was made with
    LinePosition(const ImageModel& image, const access::PointPlan& plan)
        : m_extents(helper::getExtents(image)), m_joined(plan.rowsAreJoined()) {}

    access::RowSegment of(std::size_t line) const {
        access::RowSegment segment;
        segment.count = m_extents[COLUMNS];
        if (m_joined) {
            segment.column = line * m_extents[COLUMNS];  // one long line
            return segment;
        }
        segment.row = line % m_extents[ROWS];
        line /= m_extents[ROWS];
        segment.plane = line % m_extents[PLANS];
        line /= m_extents[PLANS];
        segment.sequence = line % m_extents[SEQUENCE];
        segment.spectral = line / m_extents[SEQUENCE];
        return segment;
    }

private:
    std::array<std::size_t, 5> m_extents;
    bool m_joined;
};

}  // namespace rix::segmentation
