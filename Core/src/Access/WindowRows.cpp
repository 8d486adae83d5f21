#include <rix/access/WindowRows.h>

#include <algorithm>
#include <new>

#include <rix/access/Rows.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

#include "Access/Cutting.h"

namespace rix::access {

/// One place of the ring.
template <class T>
struct WindowRows<T>::Slot {
    const T* data = nullptr;  ///< null while the slot holds no row
    std::int64_t row = 0;
    std::int64_t plane = 0;
};

namespace {

/// Rows of the ring start on lines of the cache, and not a page apart: the same column of neighbouring rows would
/// otherwise compete for the same places of the first-level cache.
constexpr std::size_t rowAlignment = 64;
constexpr std::size_t page = 4096;

/// From row to row of the ring. @param bytes of a row's samples
std::size_t ringRowBytes(std::size_t bytes) {
    const std::size_t row = (bytes + rowAlignment - 1) / rowAlignment * rowAlignment + readableBytesBehindWindow;
    return row + (row % page == 0 ? rowAlignment : 0);
}

std::size_t checkedBytes(std::size_t a, std::size_t b) {
    std::size_t product = 0;
    if (!helper::checkedMultiply(a, b, product)) {
        throw MemoryError("The rows of a neighbourhood of " + std::to_string(a) + " times " + std::to_string(b) +
                          " bytes are too large.");
    }
    return product;
}

std::size_t windowExtent(const Interval& interval, const Reach::Axis& reach) {
    std::size_t extent = interval.length();
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
WindowRows<T>::WindowRows(const ImageModel& image, const BorderCondition<T>* border, const Block& block,
                          const Reach& reach)
    : m_image(image),
      m_border(border),
      m_block(block),
      m_samples(detail::rowLayoutOf(image).samples),
      m_firstColumn(static_cast<std::int64_t>(block.columns().begin - reach.columns.before)),
      m_firstRow(static_cast<std::int64_t>(block.rows().begin - reach.rows.before)),
      m_firstPlane(static_cast<std::int64_t>(block.planes().begin - reach.planes.before)),
      m_columns(windowExtent(block.columns(), reach.columns)),
      m_rows(windowExtent(block.rows(), reach.rows)),
      m_planes(windowExtent(block.planes(), reach.planes)),
      m_heldRows(block.planes().length() > 1 && reach.planes.sum() > 0 ? m_rows : reach.rows.sum() + 1),
      m_heldPlanes(reach.planes.sum() + 1) {
    if (border == nullptr) {
        const Interval columns = withReach(block, reach, helper::getExtents(image)).columns();
        m_firstColumn = static_cast<std::int64_t>(columns.begin);
        m_columns = columns.length();
    }
    if (image.getVoxelType() != voxelTypeOf<T>) {
        m_converted.emplace(&image, voxelTypeOf<T>);
    }
    const std::size_t slots = checkedBytes(m_heldRows, m_heldPlanes);
    m_slots = Scratch(checkedBytes(slots, sizeof(Slot)));
    std::uninitialized_fill_n(m_slots.template as<Slot>(), slots, Slot{});
    m_rowBytes = ringRowBytes(checkedBytes(m_columns, checkedBytes(m_samples, sizeof(T))));
}

template <class T>
WindowRows<T>::~WindowRows() = default;

template <class T>
const T* WindowRows<T>::row(std::int64_t row, std::int64_t plane) {
    const auto y = static_cast<std::size_t>(row - m_firstRow);
    const auto z = static_cast<std::size_t>(plane - m_firstPlane);
    if (y >= m_rows || z >= m_planes || (m_border == nullptr && !isInsideImage(row, plane))) {
        throw BadIndex("Row " + std::to_string(row) + " of plane " + std::to_string(plane) +
                       " is out of reach of the block at row " + std::to_string(m_block.rows().begin) + ", plane " +
                       std::to_string(m_block.planes().begin) + ".");
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
bool WindowRows<T>::isInsideImage(std::int64_t row, std::int64_t plane) const {
    const auto isBelow = [](std::int64_t index, std::size_t extent) {
        return index >= 0 && static_cast<std::size_t>(index) < extent;
    };
    return isBelow(row, m_image.getNumOf(ROWS)) && isBelow(plane, m_image.getNumOf(PLANS));
}

template <class T>
const T* WindowRows<T>::load(std::size_t index, std::int64_t row, std::int64_t plane) {
    const std::size_t before = m_block.columns().begin - static_cast<std::size_t>(m_firstColumn);
    const std::size_t columns = m_image.getNumOf(COLUMNS);
    const std::size_t behind = ceilDivide(readableBytesBehindWindow, m_samples * sizeof(T));
    const bool isInside = isInsideImage(row, plane);
    const bool isBinary = m_image.getInterpretation() == RIX_BINARY;  // read as 0 and 1, which makes copies
    if (!m_converted && !isBinary && isInside && m_firstColumn >= 0 && m_columns + behind <= columns &&
        static_cast<std::size_t>(m_firstColumn) <= columns - m_columns - behind) {
        ConstRawData inPlace = nullptr;
        if (m_image.getConstRowAt(m_columns, inPlace, static_cast<std::size_t>(m_firstColumn),
                                  static_cast<std::size_t>(row), static_cast<std::size_t>(plane), m_block.sequence(),
                                  m_block.spectral()) &&
            isAligned(inPlace, voxelTypeOf<T>)) {
            return reinterpret_cast<const T*>(inPlace) + before * m_samples;
        }
    }
    if (m_ring.data() == nullptr) {
        m_ring = Scratch(checkedBytes(m_heldRows * m_heldPlanes, m_rowBytes));
    }
    T* const out = reinterpret_cast<T*>(m_ring.data() + index * m_rowBytes);
    const ImageModel& source = m_converted ? *m_converted : m_image;
    if (m_border != nullptr) {
        m_border->getData(source, out, out + m_columns * m_samples, m_firstColumn, row, plane,
                          static_cast<std::int64_t>(m_block.sequence()), static_cast<std::int64_t>(m_block.spectral()));
        return out + before * m_samples;
    }
    const RowSegment segment{{static_cast<std::size_t>(m_firstColumn), static_cast<std::size_t>(row),
                              static_cast<std::size_t>(plane), m_block.sequence(), m_block.spectral()},
                             m_columns};
    if (!source.readRowAt(segment.count, reinterpret_cast<RawData>(out), segment.column, segment.row, segment.plane,
                          segment.sequence, segment.spectral)) {
        throwRowError("readRowAt", source, segment);
    }
    if (isBinary) {
        makeZeroOrOne(voxelTypeOf<T>, reinterpret_cast<RawData>(out), segment.count * m_samples);
    }
    return out + before * m_samples;
}

WindowSpans spansOf(const ImageModel& image, VoxelTypes voxelType, const Block& block, const Reach& reach) {
    /// Between the ends there is to be so much more than in them that their copies don't count.
    constexpr std::size_t worthwhile = 4;
    WindowSpans spans{{block}, 1};
    const std::size_t columns = image.getNumOf(COLUMNS);
    const std::size_t elementBytes = helper::getElementSize(image);
    ConstRawData row = nullptr;
    if (image.getVoxelType() != voxelType || image.getInterpretation() == RIX_BINARY ||
        columns <= reach.columns.before || columns <= reach.columns.after ||
        !image.getConstRowAt(1, row, block.columns().begin, block.rows().begin, block.planes().begin, block.sequence(),
                             block.spectral()) ||
        !isAligned(row, voxelType)) {
        return spans;
    }
    const std::size_t vector = ceilDivide(readableBytesBehindWindow, elementBytes);
    const std::size_t firstInside = reach.columns.before;
    const std::size_t behind = reach.columns.after + vector;
    const std::size_t left = std::max(block.columns().begin, std::min(firstInside, block.columns().end));
    const std::size_t right = std::min(block.columns().end, columns > behind ? columns - behind : 0);
    const std::size_t ends =
        left - block.columns().begin + (block.columns().end - std::min(right, block.columns().end));
    if (ends == 0 || right <= left || right - left < worthwhile * ends) {
        return spans;
    }
    spans.count = 0;
    const Interval parts[] = {{block.columns().begin, left}, {left, right}, {right, block.columns().end}};
    for (const Interval& part : parts) {
        if (part.length() > 0) {
            spans.parts[spans.count] = block;
            spans.parts[spans.count].axes[COLUMNS] = part;
            ++spans.count;
        }
    }
    return spans;
}

std::size_t windowMemory(const ImageModel& input, const BoxNeeds& needs, std::size_t sampleBytes, std::size_t threads) {
    const Plan plan = cutBoxes({&input}, {}, needs);
    const auto sum = [](const Reach::Axis& axis) {
        return static_cast<double>(axis.before) + static_cast<double>(axis.after);
    };
    const bool holdsRows = plan.largestPart(PLANS) > 1 && sum(needs.reach.planes) > 0;
    const double rows = sum(needs.reach.rows) + (holdsRows ? static_cast<double>(plan.largestPart(ROWS)) : 1.0);
    const double columns = static_cast<double>(plan.largestPart(COLUMNS)) + sum(needs.reach.columns);
    const double bytesOfSamples =
        columns * static_cast<double>(sampleBytes * helper::getElementNumber(input.getElementType()));
    constexpr double most = 9e18;
    if (bytesOfSamples >= most) {
        return static_cast<std::size_t>(most);
    }
    const auto rowBytes = static_cast<double>(ringRowBytes(static_cast<std::size_t>(bytesOfSamples)));
    constexpr double slot = sizeof(std::int64_t) * 3.0;
    // Beside the ring and its slots a row of results, one on its way between types and one that is read; whole pages.
    constexpr double pages = 5.0 * static_cast<double>(page);
    const double bytes = static_cast<double>(threads) *
                         (rows * (sum(needs.reach.planes) + 1) * (rowBytes + slot) + 3 * rowBytes + pages);
    return static_cast<std::size_t>(std::min(bytes, most));
}

template class WindowRows<std::uint8_t>;
template class WindowRows<std::uint16_t>;
template class WindowRows<std::uint32_t>;
template class WindowRows<std::int8_t>;
template class WindowRows<std::int16_t>;
template class WindowRows<std::int32_t>;
template class WindowRows<float>;
template class WindowRows<double>;
template class WindowRows<std::complex<float>>;
template class WindowRows<std::complex<double>>;

}  // namespace rix::access
