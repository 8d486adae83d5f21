#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "quantities/Int128.h"
#include "quantities/OutlineQuantity.h"

namespace rix::individual_analysis {

/// A corner of voxels: voxel (x, y, z) has the corners (x, y, z) to (x + 1, y + 1, z + 1).
using SpaceCorner = std::array<std::int64_t, 3>;

/// The convex hull of points in space that do not all lie in one plane.
struct SpaceHull {
    std::vector<SpaceCorner> corners;
    Int128 sixfoldVolume = 0;  ///< exact
};

/// The convex hull of the voxels of an object. Each plane's own hull is found first, and the corners of these are
/// joined by the quickhull algorithm (Barber, Dobkin and Huhdanpaa 1996) with exact integers, so that points in one
/// plane do no harm. Cost: linear in the rows, then about v log v for the v corners of the planes' hulls.
/// @param rows in raster order
SpaceHull convexHullInSpace(std::span<const OutlineRow> rows);

}  // namespace rix::individual_analysis
