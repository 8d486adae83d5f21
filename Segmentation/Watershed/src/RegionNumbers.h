#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>

#include "GridRows.h"

namespace rix::segmentation {

/// Gives the connected sets of marks of each plane or volume the numbers 1, 2, 3, ... in the raster order of their
/// first voxels. A step of the run.
/// @param marks,numbers in storage order; what is marked is not 0. A plane or volume has less than 2^31 voxels.
void numberRegions(access::ExecutionContext& context, const std::uint8_t* marks, std::uint32_t* numbers,
                   const Extents& extents, const Neighbors& neighbors);

/// Takes out the regions of labels that have less voxels than `least` in `labels`, and numbers the others anew, in
/// their order. A step of the run.
/// @param numbers the regions, of the labels 1, 2, 3, ... for each plane or volume
/// @return whether there were some
bool dropSmallRegions(access::ExecutionContext& context, const std::uint32_t* labels, double least,
                      std::uint32_t* numbers, const Extents& extents, const Neighbors& neighbors);

/// The bytes that both hold.
std::size_t dropSmallRegionsBytes(const Extents& extents, const Neighbors& neighbors, std::size_t threads);

}  // namespace rix::segmentation
