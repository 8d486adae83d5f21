#include "ConvexHull2d.h"

#include <algorithm>

#include <rix/access/Looks.h>

namespace rix::individual_analysis {

namespace {

/// Positive when c lies on the left of the line from a to b, in a system whose y axis is turned left from the x axis.
Int128 turn(const Corner& a, const Corner& b, const Corner& c) {
    return Int128{b.x - a.x} * (c.y - a.y) - Int128{b.y - a.y} * (c.x - a.x);
}

/// Appends a corner to a chain that turns left all the way.
void extend(std::vector<Corner>& chain, std::size_t first, const Corner& corner) {
    while (chain.size() >= first + 2 && turn(chain[chain.size() - 2], chain.back(), corner) <= 0) {
        chain.pop_back();
    }
    if (chain.size() == first || chain.back() != corner) {
        chain.push_back(corner);
    }
}

}  // namespace

std::vector<Corner> convexHull(std::span<const OutlineRow> rows) {
    std::vector<Corner> hull;
    access::Looks looks;
    // The right side, where y grows, then the left side back.
    for (const OutlineRow& row : rows) {
        looks.add(1);
        extend(hull, 0, {row.end, row.row});
        extend(hull, 0, {row.end, std::int64_t{row.row} + 1});
    }
    const std::size_t left = hull.size();
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        looks.add(1);
        extend(hull, left, {row->begin, std::int64_t{row->row} + 1});
        extend(hull, left, {row->begin, row->row});
    }
    return hull;
}

Int128 twiceArea(std::span<const Corner> polygon) {
    Int128 sum = 0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Corner& a = polygon[i];
        const Corner& b = polygon[(i + 1) % polygon.size()];
        sum += Int128{a.x} * b.y - Int128{b.x} * a.y;
    }
    return sum;
}

}  // namespace rix::individual_analysis
