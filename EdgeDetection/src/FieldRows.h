#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/Scratch.h>
#include <rix/access/WindowRows.h>

#include "FieldKernels.h"
#include "FieldPlan.h"
#include "KernelSums.h"

namespace rix::edge_detection {

/// The most columns and rows of a part of a block that is worked on at a time, so that the caches hold what it takes.
struct TileSize {
    std::size_t columns;
    std::size_t rows;
};

template <class T>
TileSize tileSize(const FieldPlan<T>& plan);

/// Computes the components of a tile: many rows at a time of planes, else the tile's rows of plane after plane, of
/// which as many are held as sums along z have. Made by the thread that uses it.
template <class T>
class FieldRows {
public:
    /// @param images the filter's, of the same extents
    FieldRows(const FieldPlan<T>& plan, const std::vector<const ImageModel*>& images, const access::Block& tile,
              const FieldKernels<T>& kernels);

    /// The components of a row of the tile or its margin inside of the image: cheapest row by row and plane by plane;
    /// from its first column on and as far as the margin reaches on both sides; valid until the next call.
    const T* const* compute(std::int64_t row, std::int64_t plane);

    /// Bytes of scratch memory for a tile.
    static std::size_t bytes(const FieldPlan<T>& plan, const ImageModel& image, const TileSize& tile);

private:
    /// Rows of its memory, in this order.
    struct Layout {
        Layout(const FieldPlan<T>& plan, std::size_t columns, std::size_t rows, std::size_t planes);
        std::size_t stride;   ///< from row to row, in samples
        std::size_t rows;     ///< that are computed at a time
        std::size_t slots;    ///< planes of fields
        std::size_t ofLine;   ///< rows of a line
        std::size_t fields;   ///< the first row of the fields
        std::size_t results;  ///< that of the components
        std::size_t all;
        std::size_t lead;   ///< samples before the first voxel of a row of the image
        std::size_t ofRow;  ///< samples of such a row with all around it
        std::size_t bytes() const { return (all * stride + ofRow) * sizeof(T); }
    };

    T* rowAt(std::size_t index) const { return m_memory.template as<T>() + index * m_layout.stride; }
    T* lineAt(std::size_t line) const { return rowAt(line * m_layout.ofLine); }
    T* fieldAt(std::size_t slot, std::size_t field) const {
        return rowAt(m_layout.fields + (slot * m_plan.fields.size() + field) * m_layout.rows);
    }
    /// @param which of two planes
    T* resultAt(std::size_t which, std::size_t i) const {
        return rowAt(m_layout.results + (which * m_plan.components.size() + i) * m_layout.rows);
    }

    /// A row of every line, to a place.
    void computeLines(std::int64_t row, std::int64_t plane, std::size_t index);
    void computeFields(std::int64_t first, std::int64_t last, std::int64_t plane, std::size_t slot, bool goesOn);
    std::size_t slotOf(std::int64_t plane);
    void sumAlongZ(std::int64_t plane);

    const FieldPlan<T>& m_plan;
    const FieldKernels<T>& m_kernels;
    access::Block m_tile;
    std::int64_t m_rows;  ///< of the image
    std::int64_t m_planes;
    Layout m_layout;
    std::shared_ptr<const access::BorderCondition<T>> m_border;  ///< of the windows
    std::vector<std::unique_ptr<access::WindowRows<T>>> m_windows;
    access::Scratch m_memory;
    T* m_row;  ///< room for a row of the image
    std::vector<KernelSum<T>> m_sums;
    std::vector<const T*> m_list;          ///< of rows of a sum
    std::vector<std::size_t> m_slots;      ///< around a plane
    std::vector<const T*> m_first[2];      ///< the components' first rows, of two planes
    std::vector<const T*> m_components;    ///< of a row
    std::vector<std::int64_t> m_planesOf;  ///< what slots hold
    std::int64_t m_begin = 0;              ///< the rows that are computed
    std::int64_t m_end = 0;
    std::int64_t m_plane;         ///< of them
    std::int64_t m_computed = 0;  ///< planes
    access::Looks m_looks;
};

}  // namespace rix::edge_detection
