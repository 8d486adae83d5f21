#include "ShapePainter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rix::synthesis {

ShapePainter::Span ShapePainter::spanOf(const ImageHeader& header, const Bounds& bounds, std::size_t axis) {
    // Element i covers from (i - 1/2) to (i + 1/2) spacings.
    const double first = std::floor(bounds.lowest[axis] / header.spacing[axis] + 0.5);
    const double last = std::floor(bounds.highest[axis] / header.spacing[axis] + 0.5);
    const auto extent = static_cast<double>(header.extents[axis]);
    const auto begin = static_cast<std::size_t>(std::clamp(first, 0.0, extent));
    return {begin, std::max(begin, static_cast<std::size_t>(std::clamp(last + 1, 0.0, extent)))};
}

std::size_t ShapePainter::bandsOf(const ImageHeader& header) {
    return (header.extents[ROWS] + bandRows - 1) / bandRows * header.extents[PLANS];
}

template <class F>
void ShapePainter::forBands(const ImageHeader& header, const Shape& shape, const F& use) {
    const Bounds bounds = boundsOf(shape);
    const Span rows = spanOf(header, bounds, ROWS);
    const Span planes = shape.inSpace ? spanOf(header, bounds, PLANS) : Span{0, header.extents[PLANS]};
    const Span columns = spanOf(header, bounds, COLUMNS);
    if (rows.begin == rows.end || columns.begin == columns.end) {
        return;
    }
    const std::size_t bands = (header.extents[ROWS] + bandRows - 1) / bandRows;
    for (std::size_t plane = planes.begin; plane < planes.end; ++plane) {
        for (std::size_t band = rows.begin / bandRows; band <= (rows.end - 1) / bandRows; ++band) {
            use(plane * bands + band);
        }
    }
}

std::size_t ShapePainter::bytes(const ImageHeader& header, const std::vector<Shape>& shapes) {
    std::size_t members = 0;
    for (const Shape& shape : shapes) {
        forBands(header, shape, [&](std::size_t) { ++members; });
    }
    return (bandsOf(header) + 1) * sizeof(std::size_t) + members * sizeof(std::uint32_t);
}

ShapePainter::ShapePainter(const ImageHeader& header, const std::vector<Shape>& shapes)
    : m_shapes(shapes),
      m_header(header),
      m_half{header.spacing[0] / 2, header.spacing[1] / 2, header.spacing[2] / 2},
      m_starts(bandsOf(header) + 1) {
    for (const Shape& shape : shapes) {
        forBands(header, shape, [&](std::size_t band) { ++m_starts[band + 1]; });
    }
    for (std::size_t band = 1; band < m_starts.size(); ++band) {
        m_starts[band] += m_starts[band - 1];
    }
    m_members = access::CountedVector<std::uint32_t>(m_starts.back());
    // Each start moves to the end of its band, which is the next one's start.
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        forBands(header, shapes[i],
                 [&](std::size_t band) { m_members[m_starts[band]++] = static_cast<std::uint32_t>(i); });
    }
    std::copy_backward(m_starts.begin(), m_starts.end() - 1, m_starts.end());
    m_starts.front() = 0;
}

template <class F>
void ShapePainter::forShapes(const access::Position& at, std::size_t count, const F& use) const {
    const std::size_t bands = (m_header.extents[ROWS] + bandRows - 1) / bandRows;
    const std::size_t band = at.plane * bands + at.row / bandRows;
    const Point centre{0.0, static_cast<double>(at.row) * m_header.spacing[ROWS],
                       static_cast<double>(at.plane) * m_header.spacing[PLANS]};
    for (std::size_t member = m_starts[band]; member < m_starts[band + 1]; ++member) {
        const std::uint32_t number = m_members[member];
        const Bounds bounds = boundsOf(m_shapes[number]);
        if (centre[1] + m_half[1] < bounds.lowest[1] || centre[1] - m_half[1] > bounds.highest[1]) {
            continue;
        }
        const Span columns = spanOf(m_header, bounds, COLUMNS);
        const std::size_t begin = std::max(columns.begin, at.column);
        const std::size_t end = std::min(columns.end, at.column + count);
        for (std::size_t column = begin; column < end; ++column) {
            use(number, column - at.column,
                Point{static_cast<double>(column) * m_header.spacing[COLUMNS], centre[1], centre[2]});
        }
    }
}

void ShapePainter::paint(const access::Position& at, double* values, std::size_t count) const {
    forShapes(at, count, [&](std::uint32_t number, std::size_t i, const Point& centre) {
        const Shape& shape = m_shapes[number];
        const Point half = shape.inSpace ? m_half : Point{m_half[0], m_half[1], 0.0};
        const Point place = shape.inSpace ? centre : Point{centre[0], centre[1], 0.0};
        switch (coverOf(shape, place, half)) {
            case Cover::None: break;
            case Cover::All: values[i] = shape.value; break;
            case Cover::Part: values[i] += (shape.value - values[i]) * coverageOf(shape, place, half); break;
        }
    });
}

void ShapePainter::label(const access::Position& at, double* values, std::size_t count) const {
    forShapes(at, count, [&](std::uint32_t number, std::size_t i, const Point& centre) {
        const Shape& shape = m_shapes[number];
        if (isInside(shape, shape.inSpace ? centre : Point{centre[0], centre[1], 0.0})) {
            values[i] = number + 1.0;
        }
    });
}

VoxelTypes labelTypeFor(std::size_t shapes) {
    return shapes <= 0xff ? RIX_UINT8 : shapes <= 0xffff ? RIX_UINT16 : RIX_UINT32;
}

void tellShapes(const std::vector<Shape>& shapes, bool inSpace, ShapesMsr& table) {
    constexpr double pi = 3.141592653589793;
    table.reset(shapes.size(), inSpace);
    for (std::size_t row = 0; row < shapes.size(); ++row) {
        const ShapeFacts facts = factsOf(shapes[row]);
        table.label[row] = static_cast<std::int64_t>(row) + 1;
        table.shape[row] = wordOf(shapes[row]);
        table.x[row] = facts.centroid[0];
        table.y[row] = facts.centroid[1];
        table.z[row] = facts.centroid[2];
        (inSpace ? table.volume : table.area)[row] = facts.size;
        (inSpace ? table.surfaceArea : table.perimeter)[row] = facts.outline;
        table.equivalentDiameter[row] = inSpace ? std::cbrt(6 * facts.size / pi) : 2 * std::sqrt(facts.size / pi);
        table.value[row] = shapes[row].value;
    }
}

}  // namespace rix::synthesis
