#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/image/ImageModel.h>

namespace rix::analysis {

/// Finds the finite values of given ranks among the voxels of an image, exactly, by passes of histograms over 16 bits
/// of keys that have the order of the values: two for types of 32 bits, four for `float64`, once for each eight ranks.
/// Few values are sorted instead.
/// @param image of 32-bit integers or reals
/// @param mask of the same extents; null for all voxels
/// @param count of the finite voxels inside the mask
/// @param ranks ascending, from 0, below `count`
/// @return the values in the order of the ranks; a zero is +0
std::vector<double> selectRanks(access::ExecutionContext& context, const ImageModel& image, const ImageModel* mask,
                                std::uint64_t count, std::span<const std::uint64_t> ranks);

/// Peak bytes of working memory. @param ranks that are asked for; 0 for any number
std::size_t selectionMemory(std::size_t threads, std::size_t ranks = 0);

}  // namespace rix::analysis
