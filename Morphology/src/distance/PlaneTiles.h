#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/Plan.h>

#include "distance/DistanceTask.h"

namespace rix::morphology {

/// to[column][row] = from[row][column].
template <class T>
void transposeInto(const T* from, std::size_t fromPitch, std::size_t rows, std::size_t columns, T* to,
                   std::size_t toPitch) {
    constexpr std::size_t abreast = 16;  // a line of the cache of most types
    for (std::size_t row = 0; row < rows; row += abreast) {
        const std::size_t rowEnd = std::min(row + abreast, rows);
        for (std::size_t column = 0; column < columns; column += abreast) {
            const std::size_t columnEnd = std::min(column + abreast, columns);
            for (std::size_t c = column; c < columnEnd; ++c) {
                for (std::size_t r = row; r < rowEnd; ++r) {
                    to[c * toPitch + r] = from[r * fromPitch + c];
                }
            }
        }
    }
}

/// Blocks that have all planes of some columns of a row, so that the lines across planes fit the cache.
/// @param bytes of a voxel in a block
inline access::Plan planAcrossPlanes(const Extents& extents, std::size_t bytes, double nanosecondsPerVoxel) {
    constexpr std::size_t least = 16;
    constexpr std::size_t most = 256;
    const std::size_t fitting = access::blockBytes() / (std::max<std::size_t>(extents[PLANS], 1) * bytes);
    access::Plan plan(extents, access::JoinedAxes::None);
    plan.cut(COLUMNS, {.step = std::clamp(fitting / least * least, least, most)});
    for (const Components axis : {ROWS, SEQUENCE, SPECTRAL_SERIES}) {
        plan.cut(axis, {.step = 1});
    }
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanosecondsPerVoxel < access::smallWorkNanoseconds());
    return plan;
}

/// The place of a voxel of the block's row in storage order, by its column in the block and its plane.
inline std::size_t placeOf(const access::Block& block, const Extents& n, std::size_t column, std::size_t plane) {
    return (((block.spectral() * n[SEQUENCE] + block.sequence()) * n[PLANS] + plane) * n[ROWS] + block.rows().begin) *
               n[COLUMNS] +
           block.columns().begin + column;
}

}  // namespace rix::morphology
