#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/access/Scratch.h>

#include "FieldRows.h"

namespace rix::edge_detection {

/// The gradients of a tile and, around each voxel of it, their magnitudes: rows are computed once and kept as long as
/// they are neighbours. Beyond the edges of the image magnitudes are 0.
template <class T>
class FieldRing {
public:
    /// @param axes 2 or 3, as many as the plan has components; its margin is 1 along them
    FieldRing(const FieldPlan<T>& plan, const std::vector<const ImageModel*>& sources, const access::Block& tile,
              const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const FieldKernels<T>& kernels)
        : m_kernels(kernels),
          m_rows(plan, sources, tile, kernels),
          m_tile(tile),
          m_axes(plan.components.size()),
          m_extents(extents),
          m_heldRows(heldRows(tile.rows().length(), m_axes)),
          m_count(tile.columns().length()),
          m_stride(strideOf(m_count)),
          m_memory(m_heldRows * heldPlanes(m_axes) * (m_axes + 1) * m_stride * sizeof(T)) {}

    /// Makes the rows around those of a plane's row available; called row by row.
    void advance(std::int64_t row, std::int64_t plane) {
        const auto first = static_cast<std::int64_t>(m_tile.rows().begin);
        const auto last = static_cast<std::int64_t>(m_tile.rows().end);
        if (m_axes == 3) {
            if (row == first) {
                const bool isFirst = plane == static_cast<std::int64_t>(m_tile.planes().begin);
                for (std::int64_t z = isFirst ? plane - 1 : plane + 1; z <= plane + 1; ++z) {
                    for (std::int64_t y = first - 1; y <= last; ++y) {
                        compute(y, z);
                    }
                }
            }
            return;
        }
        for (std::int64_t y = row == first ? row - 1 : row + 1; y <= row + 1; ++y) {
            compute(y, plane);
        }
    }
    /// From the tile's first column on; one voxel more lies on both sides.
    const T* magnitude(std::int64_t row, std::int64_t plane) const { return rowAt(row, plane, m_axes); }
    const T* component(std::int64_t row, std::int64_t plane, std::size_t axis) const { return rowAt(row, plane, axis); }

    /// Beside what its rows take.
    static std::size_t bytes(const FieldPlan<T>& plan, const TileSize& tile) {
        const std::size_t axes = plan.components.size();
        return access::Scratch::held(heldRows(tile.rows, axes) * heldPlanes(axes) * (axes + 1) *
                                     strideOf(tile.columns) * sizeof(T));
    }

private:
    static constexpr std::size_t lead = 16;  ///< before a row's first voxel: of the margin one is used

    static std::size_t heldRows(std::size_t rows, std::size_t axes) { return axes == 3 ? rows + 2 : 3; }
    static std::size_t heldPlanes(std::size_t axes) { return axes == 3 ? 3 : 1; }
    static std::size_t strideOf(std::size_t columns) { return (columns + 2 * lead + lead - 1) / lead * lead; }

    T* rowAt(std::int64_t row, std::int64_t plane, std::size_t which) const {
        const std::size_t y = static_cast<std::size_t>(row + 1) % m_heldRows;
        const std::size_t z = static_cast<std::size_t>(plane + 1) % heldPlanes(m_axes);
        return m_memory.template as<T>() + ((z * m_heldRows + y) * (m_axes + 1) + which) * m_stride + lead;
    }

    void compute(std::int64_t row, std::int64_t plane) {
        T* const magnitudes = rowAt(row, plane, m_axes);
        const std::size_t count = m_count + 2;
        if (row < 0 || plane < 0 || row >= static_cast<std::int64_t>(m_extents[ROWS]) ||
            plane >= static_cast<std::int64_t>(m_extents[PLANS])) {
            std::fill_n(magnitudes - 1, count, T{0});
            return;
        }
        const T* const* const components = m_rows.compute(row, plane);
        const T* margins[3];
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            margins[axis] = components[axis] - 1;
            std::copy_n(components[axis], m_count, rowAt(row, plane, axis));
        }
        m_kernels.magnitude(margins, m_axes, magnitudes - 1, count, access::Stores::Cached);
        if (m_tile.columns().begin == 0) {
            magnitudes[-1] = 0;
        }
        if (m_tile.columns().end == m_extents[COLUMNS]) {
            magnitudes[m_count] = 0;
        }
    }

    const FieldKernels<T>& m_kernels;
    FieldRows<T> m_rows;
    access::Block m_tile;
    std::size_t m_axes;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    std::size_t m_heldRows;
    std::size_t m_count;
    std::size_t m_stride;
    access::Scratch m_memory;
};

}  // namespace rix::edge_detection
