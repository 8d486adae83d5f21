#pragma once

#include <cstddef>
#include <limits>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Run.h>
#include <rix/access/WholeImage.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/algorithms/OptimLevel.h>

#include "elements/ElementKernels.h"
#include "reconstruction/FloodTile.h"

namespace rix::morphology {

inline FloodSpace floodSpaceOf(algorithms::Neighborhood2DType neighborhood) {
    return {2, neighborhood == algorithms::Neighborhood2DType::CONNECTIVITY_8 ? 2 : 1};
}
inline FloodSpace floodSpaceOf(algorithms::Neighborhood3DType neighborhood) {
    return {3, static_cast<int>(neighborhood) + 1};
}

/// The tiles of a flood.
access::Plan floodTiles(const Extents& extents, std::size_t sampleBytes, const FloodSpace& space);

/// The images of a flood, in storage order.
template <class T>
struct FloodImages {
    const T* ground;
    T* levels;
    Extents extents;
};

/// Reconstruction by erosion (`Minimum`): lowers the levels, which must not lie below the ground, to
///
///     levels(p) = min over all paths from a voxel q to p, of the largest of levels(q) and ground on the path;
///
/// or by dilation (`Maximum`): the same with the order turned around. Where the ground is NaN the levels have to be,
/// too: no path leads there, and NaN it stays. No other level may be NaN. A step of the run.
template <class T>
void flood(access::ExecutionContext& context, const FloodImages<T>& images, Extremum extremum, const FloodSpace& space,
           OptimLevelType level);

/// For the voxels of regional extrema 1, for others 0. NaN takes no part. Two steps of the run.
/// @param marks as many as there are voxels, and room for the states meanwhile
template <class T>
void markExtrema(access::ExecutionContext& context, const T* voxels, std::uint8_t* marks, const Extents& extents,
                 Extremum extremum, const FloodSpace& space, OptimLevelType level);

/// The most bytes of tiles that a flood needs, and a search for extrema.
std::size_t floodBytes(const Extents& extents, VoxelTypes type, const FloodSpace& space, std::size_t threads);
std::size_t extremaSearchBytes(const Extents& extents, VoxelTypes type, const FloodSpace& space, std::size_t threads);

/// What floods begin with where nothing is to be: above all numbers, or below.
template <class T>
constexpr T floodLimit(Extremum extremum) {
    using Limits = std::numeric_limits<T>;
    if constexpr (Limits::has_infinity) {
        return extremum == Extremum::Minimum ? Limits::infinity() : -Limits::infinity();
    } else {
        return extremum == Extremum::Minimum ? Limits::max() : Limits::lowest();
    }
}

template <class T>
constexpr bool isNaN(T value) {
    return value != value;
}

/// Calls `row(segment, offset)` for all rows of images of these extents, in parallel blocks: a step of the run.
template <class Row>
void forEachRowOf(access::ExecutionContext& context, const Extents& extents, std::size_t sampleBytes, const Row& row) {
    const access::Plan plan = access::cutTiles(extents, {2, 2 * sampleBytes, 1.0});
    access::run(context, plan, [&](const access::Block& block) {
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            row(segment, access::detail::offsetOf(segment, extents));
        });
    });
}

/// Levels that are the ground on the edges of planes or volumes, and a limit of all ground inside: a step of the run.
template <class T>
void startFromEdges(access::ExecutionContext& context, const FloodImages<T>& images, T limit, const FloodSpace& space) {
    const Extents& extents = images.extents;
    const auto isEdge = [&](std::size_t axis, std::size_t index) { return index == 0 || index + 1 == extents[axis]; };
    forEachRowOf(context, extents, sizeof(T), [&](const access::RowSegment& segment, std::size_t offset) {
        const T* const ground = images.ground + offset;
        T* const levels = images.levels + offset;
        if (isEdge(ROWS, segment.row) || (space.axes == 3 && isEdge(PLANS, segment.plane))) {
            std::copy_n(ground, segment.count, levels);
            return;
        }
        for (std::size_t x = 0; x < segment.count; ++x) {
            levels[x] = isNaN(ground[x]) ? ground[x] : limit;
        }
        for (const std::size_t x : {std::size_t{0}, segment.count - 1}) {
            levels[x] = isEdge(COLUMNS, segment.column + x) ? ground[x] : levels[x];
        }
    });
}

}  // namespace rix::morphology
