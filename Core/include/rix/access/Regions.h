#pragma once

#include <array>
#include <cstddef>

#include <rix/Export.h>
#include <rix/access/Blocks.h>

namespace rix::access {

/// Where in an input the elements of an output lie: (column, row, plane) of the output to a place in the input, in
/// elements; rows of the matrix give the places' columns, rows and planes, the last column is the shift. Resampling
/// takes its places from here, so that `sourceRegion` knows them exactly.
struct RegionMap {
    std::array<std::array<double, 4>, 3> matrix{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}};

    /// The place on an axis (`COLUMNS`, `ROWS` or `PLANS`) of the input. Each rounding keeps the order of values, so
    /// that over a block the places of its corners are the extremes, as they are computed.
    double place(std::size_t axis, std::size_t column, std::size_t row, std::size_t plane) const {
        return matrix[axis][0] * static_cast<double>(column) + start(axis, row, plane);
    }

    /// What the place of every element of a row has in common: kernels add the columns' part to it.
    double start(std::size_t axis, std::size_t row, std::size_t plane) const {
        const std::array<double, 4>& m = matrix[axis];
        return (m[1] * static_cast<double>(row) + m[2] * static_cast<double>(plane)) + m[3];
    }
};

/// The part of the input that the elements of a block of the output read: the smallest block that holds, for the place
/// p of each of them, the elements floor(p) - support.before to floor(p) + support.after on every axis, cut to the
/// image. On an axis on which all lie beyond the image the interval is empty, at the nearer edge. Sequence and spectral
/// axis are those of the output block.
/// @param support of the interpolation: {0, 1} for the nearest element and linear interpolation, {1, 2} for cubic
/// @param extents of the input
/// @throws InvalidCall when the block is empty, or the places of its corners are not finite
RIX_EXPORT Block sourceRegion(const Block& output, const RegionMap& map, const Reach& support,
                              const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents);

}  // namespace rix::access
