#pragma once

#include <array>
#include <cstddef>

#include <rix/Export.h>
#include <rix/image/ImageTypes.h>

namespace rix::access {

/// The indices [begin, end) of an axis.
struct Interval {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t length() const { return end - begin; }
};

/// The part of `extent` that part `index` of `parts` covers; sizes differ by at most one.
RIX_EXPORT Interval partOf(std::size_t extent, std::size_t parts, std::size_t index);

/// The place of an element.
struct Position {
    std::size_t column = 0;
    std::size_t row = 0;
    std::size_t plane = 0;
    std::size_t sequence = 0;
    std::size_t spectral = 0;
};

/// A segment of a row: `count` elements from a position on.
struct RowSegment : Position {
    std::size_t count = 0;
};

/// Part of the images of a run that one thread computes in one go: an interval of every axis.
struct Block {
    std::array<Interval, RIX_COMPONENTS_SIZE> axes{};
    std::size_t index = 0;  ///< its number in the order of the plan

    const Interval& columns() const { return axes[COLUMNS]; }
    const Interval& rows() const { return axes[ROWS]; }
    const Interval& planes() const { return axes[PLANS]; }
    /// Of a block that holds one frame and one channel, as those of windows and bands do.
    std::size_t sequence() const { return axes[SEQUENCE].begin; }
    std::size_t spectral() const { return axes[SPECTRAL_SERIES].begin; }

    std::size_t voxels() const {
        std::size_t product = 1;
        for (const Interval& axis : axes) {
            product *= axis.length();
        }
        return product;
    }

    /// Calls `use(position)` for the first element of every row of the block, in storage order.
    template <class F>
    void forEachRow(F&& use) const {
        Position at;
        at.column = axes[COLUMNS].begin;
        for (at.spectral = axes[SPECTRAL_SERIES].begin; at.spectral < axes[SPECTRAL_SERIES].end; ++at.spectral) {
            for (at.sequence = axes[SEQUENCE].begin; at.sequence < axes[SEQUENCE].end; ++at.sequence) {
                for (at.plane = axes[PLANS].begin; at.plane < axes[PLANS].end; ++at.plane) {
                    for (at.row = axes[ROWS].begin; at.row < axes[ROWS].end; ++at.row) {
                        use(at);
                    }
                }
            }
        }
    }
};

/// How many elements a filter looks at beside the one that it computes, on each spatial axis.
struct Reach {
    struct Axis {
        std::size_t before = 0;  ///< toward smaller coordinates
        std::size_t after = 0;
        std::size_t sum() const { return before + after; }
    };
    Axis columns;
    Axis rows;
    Axis planes;
};

/// The reach of a window of the given extents around its element: one more before than after where an extent is even.
constexpr Reach reachOfWindow(std::size_t columns, std::size_t rows, std::size_t planes) {
    const auto axis = [](std::size_t extent) { return Reach::Axis{extent / 2, extent - 1 - extent / 2}; };
    return {axis(columns), axis(rows), axis(planes)};
}

/// The elements of an image of the given extents that a block's windows look at; what lies beyond its edges is left
/// out.
RIX_EXPORT Block withReach(const Block& block, const Reach& reach,
                           const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents);

}  // namespace rix::access
