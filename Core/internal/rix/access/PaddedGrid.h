#pragma once

#include <array>
#include <cstddef>

#include <rix/image/ImageModel.h>

namespace rix::access {

/// A plane or volume in cells with a margin, so that the neighbours of its voxels are cells at fixed distances: behind
/// each row lies a cell that is none of its voxels, and a row of them behind each plane of a volume. What lies before
/// the first row and behind the last belongs to the margin, too.
class PaddedGrid {
public:
    static constexpr std::size_t mostNeighbors = 26;

    /// @param axes 2 for a plane, 3 for a volume
    /// @param farthest the largest sum of squares of a step to a neighbour: 1 across faces, 2 also across edges, 3 also
    ///        across corners
    PaddedGrid(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes, int farthest)
        : m_columns(extents[COLUMNS]), m_rowsOfPlane(extents[ROWS]), m_planes(axes == 3 ? extents[PLANS] : 1) {
        m_rowCells = m_columns + 1;
        m_planeCells = m_rowCells * (m_rowsOfPlane + (m_planes > 1 ? 1 : 0));
        m_margin = 1 + m_rowCells + (m_planes > 1 ? m_planeCells : 0);
        m_cells = m_planeCells * m_planes + 2 * m_margin;
        const std::ptrdiff_t reach = axes == 3 ? 1 : 0;
        for (std::ptrdiff_t z = -reach; z <= reach; ++z) {
            for (std::ptrdiff_t y = -1; y <= 1; ++y) {
                for (std::ptrdiff_t x = -1; x <= 1; ++x) {
                    const std::ptrdiff_t length = x * x + y * y + z * z;
                    if (length == 0 || length > farthest) {
                        continue;
                    }
                    // Where there is one plane only a step to another one leads nowhere.
                    const bool isNone = z != 0 && m_planes == 1;
                    m_steps[m_count++] = isNone ? 0
                                                : static_cast<std::ptrdiff_t>(m_planeCells) * z +
                                                      static_cast<std::ptrdiff_t>(m_rowCells) * y + x;
                }
            }
        }
    }

    std::size_t cells() const { return m_cells; }
    std::size_t voxels() const { return m_columns * rows(); }
    std::size_t columns() const { return m_columns; }
    /// Rows of all planes, one after another.
    std::size_t rows() const { return m_rowsOfPlane * m_planes; }
    std::size_t rowsOfPlane() const { return m_rowsOfPlane; }
    /// The cell of the first voxel of a row.
    std::size_t cellOfRow(std::size_t row) const {
        return m_margin + row / m_rowsOfPlane * m_planeCells + row % m_rowsOfPlane * m_rowCells;
    }
    /// The distances of the neighbours in the order of storage, 0 for those that no voxel has: the first so many.
    const std::array<std::ptrdiff_t, mostNeighbors>& steps() const { return m_steps; }
    std::size_t neighborCount() const { return m_count; }
    /// Cells from a row to the next one, and from a plane: 0 where there is no other, nor a margin in its place.
    std::size_t rowCells() const { return m_rowCells; }
    std::size_t planeCells() const { return m_planes > 1 ? m_planeCells : 0; }

    /// Calls `use(begin, end)` for the cells of the margin that lie before a row, and behind it if it is the last.
    template <class Use>
    void forMarginOf(std::size_t row, const Use& use) const {
        use(row == 0 ? 0 : cellOfRow(row - 1) + m_columns, cellOfRow(row));
        if (row + 1 == rows()) {
            use(cellOfRow(row) + m_columns, m_cells);
        }
    }

private:
    std::size_t m_columns;
    std::size_t m_rowsOfPlane;
    std::size_t m_planes;
    std::size_t m_rowCells = 0;
    std::size_t m_planeCells = 0;
    std::size_t m_margin = 0;
    std::size_t m_cells = 0;
    std::array<std::ptrdiff_t, mostNeighbors> m_steps{};
    std::size_t m_count = 0;
};

}  // namespace rix::access
