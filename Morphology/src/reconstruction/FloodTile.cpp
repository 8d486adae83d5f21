#include "reconstruction/FloodTile.h"

namespace rix::morphology {

TileFrame::TileFrame(const access::Block& block, const Extents& extents, const FloodSpace& space)
    : m_extents(extents),
      m_begin{block.columns().begin, block.rows().begin, block.planes().begin},
      m_size{block.columns().length(), block.rows().length(), block.planes().length()},
      m_rimPlanes(space.axes == 3 ? 1 : 0),
      m_first(
          (((block.spectral() * extents[SEQUENCE] + block.sequence()) * extents[PLANS] + m_begin[2]) * extents[ROWS] +
           m_begin[1]) *
              extents[COLUMNS] +
          m_begin[0]) {
    findNeighbours(space);
}

TileFrame TileFrame::ofLargest(const access::Plan& tiles, const FloodSpace& space) {
    access::Block block;
    Extents extents;
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
        extents[axis] = tiles.largestPart(static_cast<Components>(axis));
        block.axes[axis] = {0, extents[axis]};
    }
    return {block, extents, space};
}

void TileFrame::findNeighbours(const FloodSpace& space) {
    const auto row = static_cast<std::ptrdiff_t>(pitch());
    const auto plane = row * static_cast<std::ptrdiff_t>(rows() + 2);
    forEachStep(space, [&](const TilePlace& step) {
        const std::ptrdiff_t offset = step.z * plane + step.y * row + step.x;
        if (step.x == 0) {
            m_rows[m_rowCount++] = {offset, step.y * step.y + step.z * step.z < space.farthest};
        }
        m_offsets[m_neighbours] = offset;
        m_steps[m_neighbours++] = step;
    });
}

TileFrame::Row TileFrame::rowAt(std::ptrdiff_t y, std::ptrdiff_t z, bool clamped) const {
    const auto nearest = [&](std::size_t axis, std::ptrdiff_t at, bool& isInside) {
        const std::ptrdiff_t index = static_cast<std::ptrdiff_t>(m_begin[axis]) + at;
        const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(m_extents[axis]) - 1;
        isInside = isInside && index >= 0 && index <= last;
        return static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(index, 0, last) -
                                        static_cast<std::ptrdiff_t>(m_begin[axis]));
    };
    bool isInside = true;
    // Differences wrap around, and so do their products: only the sum counts.
    const std::size_t row = nearest(ROWS, y, isInside);
    const std::size_t plane = nearest(PLANS, z, isInside);
    const std::size_t lead = m_begin[0] == 0 ? 1 : 0;
    const std::size_t trail = m_begin[0] + columns() == m_extents[COLUMNS] ? 1 : 0;
    return {cellAt({-1, y, z}), lead, isInside || clamped ? pitch() - lead - trail : 0,
            m_first + (plane * m_extents[ROWS] + row) * m_extents[COLUMNS] + lead - 1};
}

}  // namespace rix::morphology
