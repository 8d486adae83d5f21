#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/access/Blocks.h>
#include <rix/access/MemoryAccount.h>
#include <rix/image/ImageHeader.h>
#include <rix/synthesis/ShapesMsr.h>

#include "Shapes.h"

namespace rix::synthesis {

/// Draws shapes into rows, each over those before it. Knows for bands of rows which shapes they meet, so that many
/// small shapes cost what they cover.
class ShapePainter {
public:
    /// @param header of the image: extents and spacing
    /// @param shapes outlive the painter
    ShapePainter(const ImageHeader& header, const std::vector<Shape>& shapes);

    /// The bytes that a painter takes of the run's memory.
    static std::size_t bytes(const ImageHeader& header, const std::vector<Shape>& shapes);

    /// Draws the shapes over `count` values of a row: value = value + (shape's - value) * coverage.
    void paint(const access::Position& at, double* values, std::size_t count) const;
    /// Writes the number of the last shape, from 1, that has an element's centre in it; others stay.
    void label(const access::Position& at, double* values, std::size_t count) const;

private:
    static constexpr std::size_t bandRows = 16;

    /// The elements that a shape may touch, on an axis.
    struct Span {
        std::size_t begin = 0;
        std::size_t end = 0;
    };
    static Span spanOf(const ImageHeader& header, const Bounds& bounds, std::size_t axis);
    static std::size_t bandsOf(const ImageHeader& header);
    /// Calls `use(band)` for the bands that a shape meets.
    template <class F>
    static void forBands(const ImageHeader& header, const Shape& shape, const F& use);
    /// Calls `use(shape number, first, last, centre)` for the shapes that a row meets, in order.
    template <class F>
    void forShapes(const access::Position& at, std::size_t count, const F& use) const;

    const std::vector<Shape>& m_shapes;
    ImageHeader m_header;
    Point m_half{};
    access::CountedVector<std::size_t> m_starts;     ///< of each band's shapes
    access::CountedVector<std::uint32_t> m_members;  ///< numbers of shapes, band after band
};

/// The label type that so many shapes need.
VoxelTypes labelTypeFor(std::size_t shapes);

/// Fills the table of shapes.
void tellShapes(const std::vector<Shape>& shapes, bool inSpace, ShapesMsr& table);

}  // namespace rix::synthesis
