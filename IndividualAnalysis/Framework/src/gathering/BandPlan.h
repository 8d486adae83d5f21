#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/PointBlocks.h>
#include <rix/image/ImageModel.h>

namespace rix::individual_analysis {

/// A range of the lines of one frame. A line is a row of any plane, counted through the planes.
struct Band {
    std::size_t frame = 0;
    std::size_t firstLine = 0;
    std::size_t lastLine = 0;
};

/// The cut of a label image into bands. It depends on the image's extents and on what is gathered alone, so that sums
/// of reals are the same for every number of threads.
class BandPlan {
public:
    BandPlan(const ImageModel& labels, std::uint32_t gathered);

    std::size_t bandCount() const { return m_frames * m_bandsOfFrame; }
    std::size_t bandsOfFrame() const { return m_bandsOfFrame; }
    Band band(std::size_t index) const;

    std::size_t columns() const { return m_columns; }
    std::size_t rows() const { return m_rows; }
    std::size_t planes() const { return m_planes; }
    std::size_t frames() const { return m_frames; }
    /// How many lines before its first a band has to look at.
    std::size_t lookBack() const { return m_lookBack; }
    double voxels() const;
    /// True when the work is too small to pay for threads.
    bool isSmall() const;

    /// A line as a segment of one channel.
    access::RowSegment segment(std::size_t frame, std::size_t line, std::size_t channel = 0) const;

private:
    std::size_t m_columns;
    std::size_t m_rows;
    std::size_t m_planes;
    std::size_t m_frames;
    std::size_t m_bandsOfFrame = 1;
    std::size_t m_lookBack = 0;
};

}  // namespace rix::individual_analysis
