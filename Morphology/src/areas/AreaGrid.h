#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "reconstruction/Flood.h"

namespace rix::morphology {

/// A plane or volume in cells with a margin, so that the neighbours of its voxels are cells at fixed distances: behind
/// each row lies a cell that is none of its voxels, and before the next row; likewise rows between planes. Axes of one
/// voxel have no margin.
class AreaGrid {
public:
    AreaGrid(const Extents& extents, const FloodSpace& space)
        : m_columns(extents[COLUMNS]), m_rows(extents[ROWS]), m_planes(space.axes == 3 ? extents[PLANS] : 1) {
        const auto withMargin = [](std::size_t extent) { return extent + (extent > 1 ? 1 : 0); };
        m_rowCells = withMargin(m_columns);
        m_planeCells = m_rowCells * withMargin(m_rows);
        m_margin = 1 + m_rowCells + m_planeCells;
        m_cells = m_planeCells * m_planes + 2 * m_margin;
        forEachStep(space, [&](const TilePlace& step) {
            if ((step.x == 0 || m_columns > 1) && (step.y == 0 || m_rows > 1) && (step.z == 0 || m_planes > 1)) {
                m_neighbors[m_count++] = static_cast<std::ptrdiff_t>(m_planeCells) * step.z +
                                         static_cast<std::ptrdiff_t>(m_rowCells) * step.y + step.x;
            }
        });
    }

    std::size_t cells() const { return m_cells; }
    std::size_t voxels() const { return m_columns * m_rows * m_planes; }
    std::size_t columns() const { return m_columns; }
    /// Rows of all planes, one after another.
    std::size_t rows() const { return m_rows * m_planes; }
    /// The cell of the first voxel of a row.
    std::size_t cellOfRow(std::size_t row) const {
        return m_margin + row / m_rows * m_planeCells + row % m_rows * m_rowCells;
    }
    /// The distances of neighbours: the first so many of them.
    const std::array<std::ptrdiff_t, 26>& neighbors() const { return m_neighbors; }
    std::size_t neighborCount() const { return m_count; }

private:
    std::size_t m_columns;
    std::size_t m_rows;
    std::size_t m_planes;
    std::size_t m_rowCells = 0;
    std::size_t m_planeCells = 0;
    std::size_t m_margin = 0;
    std::size_t m_cells = 0;
    std::array<std::ptrdiff_t, 26> m_neighbors{};
    std::size_t m_count = 0;
};

}  // namespace rix::morphology
