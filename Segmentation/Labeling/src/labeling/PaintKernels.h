#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>

namespace rix::segmentation {

/// Labels may be read this many entries before the first and after the last one that a row needs.
inline constexpr std::size_t labelPadding = 16;

/// A row to paint.
struct PaintedRow {
    const std::uint64_t* pixels;  ///< where labels go; elsewhere 0 is written
    const std::uint64_t* top;     ///< the nodes of the row are the runs of `top` and `bottom` together
    const std::uint64_t* bottom;
};

/// Writes the label of its node to every pixel.
/// @param labels of the row's nodes, in their order
template <class T>
using PaintRow = void (*)(const PaintedRow& row, const T* labels, T* out, std::size_t columns);

/// The painting kernel of a level.
template <class T>
PaintRow<T> paintRow(OptimLevelType level, access::Stores stores);

}  // namespace rix::segmentation
