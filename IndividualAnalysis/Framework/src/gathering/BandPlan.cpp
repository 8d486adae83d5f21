#include "BandPlan.h"

#include <algorithm>

#include <rix/individual_analysis/MeasureInfo.h>

namespace rix::individual_analysis {

namespace {

/// A band is long enough to make its table and its joining cheap, and far below 20 ms.
constexpr std::size_t voxelsOfBand = std::size_t{1} << 18;
/// What looking at neighbours reads twice stays below a quarter.
constexpr std::size_t lookBacksOfBand = 4;
/// Rough cost, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.3;

}  // namespace

BandPlan::BandPlan(const ImageModel& labels, std::uint32_t gathered)
    : m_columns(labels.getNumOf(COLUMNS)),
      m_rows(labels.getNumOf(ROWS)),
      m_planes(labels.getNumOf(PLANS)),
      m_frames(labels.getNumOf(SEQUENCE)) {
    if ((gathered & (GATHER_CONTACTS | GATHER_EULER)) != 0) {
        m_lookBack = m_planes > 1 ? m_rows + 1 : 1;
    }
    const std::size_t lines = m_rows * m_planes;
    const std::size_t linesOfBand =
        std::max({voxelsOfBand / std::max<std::size_t>(m_columns, 1), lookBacksOfBand * m_lookBack, std::size_t{1}});
    m_bandsOfFrame = std::max<std::size_t>(lines / linesOfBand, 1);
}

Band BandPlan::band(std::size_t index) const {
    const access::Interval lines = access::partOf(m_rows * m_planes, m_bandsOfFrame, index % m_bandsOfFrame);
    return {index / m_bandsOfFrame, lines.begin, lines.end};
}

double BandPlan::voxels() const {
    return static_cast<double>(m_columns) * static_cast<double>(m_rows) * static_cast<double>(m_planes) *
           static_cast<double>(m_frames);
}

bool BandPlan::isSmall() const {
    return voxels() * nanosecondsPerVoxel < access::smallWorkNanoseconds();
}

access::RowSegment BandPlan::segment(std::size_t frame, std::size_t line, std::size_t channel) const {
    return {0, line % m_rows, line / m_rows, frame, channel, m_columns};
}

}  // namespace rix::individual_analysis
