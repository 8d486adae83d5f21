#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "quantities/Int128.h"
#include "quantities/OutlineQuantity.h"

namespace rix::individual_analysis {

/// A corner of pixels: pixel (x, y) has the corners (x, y) to (x + 1, y + 1).
struct Corner {
    std::int64_t x;
    std::int64_t y;

    bool operator==(const Corner&) const = default;
};

/// The convex hull of the pixels of an object in one plane: its corners in the direction of growing angle from x to y,
/// no three on a line. Exact. Cost: linear in the rows.
/// @param rows of one plane, with growing row numbers
std::vector<Corner> convexHull(std::span<const OutlineRow> rows);

/// Twice the area of a polygon, exact.
Int128 twiceArea(std::span<const Corner> polygon);

}  // namespace rix::individual_analysis
