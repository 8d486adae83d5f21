#include <rix/access/RowCache.h>

#include <algorithm>
#include <new>

#include <rix/access/Rows.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

namespace rix::access {

/// One place of the ring.
template <class T>
struct RowCache<T>::Slot {
    const T* data = nullptr;  ///< null while the slot holds no row
    std::int64_t row = 0;
    std::int64_t plane = 0;
};

namespace {

/// Rows of the ring start on lines of the cache, and not a page apart: the same column of neighbouring rows would
/// otherwise compete for the same places of the first-level cache.
constexpr std::size_t rowAlignment = 64;
constexpr std::size_t page = 4096;

std::size_t checkedBytes(std::size_t a, std::size_t b) {
    std::size_t product = 0;
    if (!helper::checkedMultiply(a, b, product)) {
        throw MemoryError("The rows of a neighbourhood of " + std::to_string(a) + " times " + std::to_string(b) +
                          " bytes are too large.");
    }
    return product;
}

std::size_t windowExtent(const Interval& interval, const Reach::Axis& reach) {
    std::size_t extent = interval.end - interval.begin;
    for (const std::size_t part : {reach.before, reach.after}) {
        if (__builtin_add_overflow(extent, part, &extent)) {
            throw MemoryError("A neighbourhood of " + std::to_string(reach.before) + " elements before and " +
                              std::to_string(reach.after) + " after a voxel is too large.");
        }
    }
    return extent;
}

}  // namespace

template <class T>
RowCache<T>::RowCache(const ImageModel& image, const BorderCondition<T>& border, const NeighbourhoodBlock& block,
                      const Reach& reach)
    : m_image(image),
      m_border(border),
      m_block(block),
      m_samples(detail::rowLayoutOf(image).samples),
      m_firstColumn(static_cast<std::int64_t>(block.columns.begin - reach.columns.before)),
      m_firstRow(static_cast<std::int64_t>(block.rows.begin - reach.rows.before)),
      m_firstPlane(static_cast<std::int64_t>(block.planes.begin - reach.planes.before)),
      m_columns(windowExtent(block.columns, reach.columns)),
      m_rows(windowExtent(block.rows, reach.rows)),
      m_planes(windowExtent(block.planes, reach.planes)),
      m_heldRows(block.planes.end - block.planes.begin > 1 && reach.planes.sum() > 0 ? m_rows : reach.rows.sum() + 1),
      m_heldPlanes(reach.planes.sum() + 1) {
    if (image.getVoxelType() != voxelTypeOf<T>) {
        m_converted.emplace(&image, voxelTypeOf<T>);
    }
    const std::size_t slots = checkedBytes(m_heldRows, m_heldPlanes);
    m_slots = Scratch(checkedBytes(slots, sizeof(Slot)));
    std::uninitialized_fill_n(m_slots.template as<Slot>(), slots, Slot{});
    const std::size_t bytes = checkedBytes(m_columns, checkedBytes(m_samples, sizeof(T)));
    m_rowBytes = (bytes + rowAlignment - 1) / rowAlignment * rowAlignment;
    m_rowBytes += m_rowBytes % page == 0 ? rowAlignment : 0;
}

template <class T>
RowCache<T>::~RowCache() = default;

template <class T>
const T* RowCache<T>::row(std::int64_t row, std::int64_t plane) {
    const auto y = static_cast<std::size_t>(row - m_firstRow);
    const auto z = static_cast<std::size_t>(plane - m_firstPlane);
    if (y >= m_rows || z >= m_planes) {
        throw BadIndex("Row " + std::to_string(row) + " of plane " + std::to_string(plane) +
                       " is out of reach of the block at row " + std::to_string(m_block.rows.begin) + ", plane " +
                       std::to_string(m_block.planes.begin) + ".");
    }
    const std::size_t index = (z % m_heldPlanes) * m_heldRows + y % m_heldRows;
    Slot& slot = m_slots.template as<Slot>()[index];
    if (slot.data == nullptr || slot.row != row || slot.plane != plane) {
        slot.data = nullptr;  // stays so when the row can't be had
        slot.data = load(index, row, plane);
        slot.row = row;
        slot.plane = plane;
    }
    return slot.data;
}

template <class T>
const T* RowCache<T>::load(std::size_t index, std::int64_t row, std::int64_t plane) {
    const std::size_t before = m_block.columns.begin - static_cast<std::size_t>(m_firstColumn);
    const auto isInside = [](std::int64_t first, std::size_t count, std::size_t extent) {
        return first >= 0 && static_cast<std::size_t>(first) <= extent &&
               count <= extent - static_cast<std::size_t>(first);
    };
    if (!m_converted && isInside(m_firstColumn, m_columns, m_image.getNumOf(COLUMNS)) &&
        isInside(row, 1, m_image.getNumOf(ROWS)) && isInside(plane, 1, m_image.getNumOf(PLANS))) {
        ConstRawData inPlace = nullptr;
        if (m_image.getConstRowAt(m_columns, inPlace, static_cast<std::size_t>(m_firstColumn),
                                  static_cast<std::size_t>(row), static_cast<std::size_t>(plane), m_block.sequence,
                                  m_block.spectral) &&
            isAligned(inPlace, voxelTypeOf<T>)) {
            return reinterpret_cast<const T*>(inPlace) + before * m_samples;
        }
    }
    if (m_ring.data() == nullptr) {
        m_ring = Scratch(checkedBytes(m_heldRows * m_heldPlanes, m_rowBytes));
    }
    T* const out = reinterpret_cast<T*>(m_ring.data() + index * m_rowBytes);
    m_border.getData(m_converted ? *m_converted : m_image, out, out + m_columns * m_samples, m_firstColumn, row, plane,
                     static_cast<std::int64_t>(m_block.sequence), static_cast<std::int64_t>(m_block.spectral));
    return out + before * m_samples;
}

template class RowCache<std::uint8_t>;
template class RowCache<std::uint16_t>;
template class RowCache<std::uint32_t>;
template class RowCache<std::int8_t>;
template class RowCache<std::int16_t>;
template class RowCache<std::int32_t>;
template class RowCache<float>;
template class RowCache<double>;
template class RowCache<std::complex<float>>;
template class RowCache<std::complex<double>>;

}  // namespace rix::access
