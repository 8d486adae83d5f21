#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace rix::segmentation {

/// Numbers the connected parts of equal numbers of a plane or volume, across edges or faces, from 1 on in the order of
/// their first voxels. What is smaller than a given size belongs to the part before its first voxel along the first
/// axis that has one; the part of the very first voxel stays.
/// @param numbers of all voxels; the results take their place
/// @param roots as many elements of working memory
/// @param extents whose product is at most 2147483646
void numberConnectedParts(const std::array<std::size_t, 3>& extents, double smallest, std::uint32_t* numbers,
                          std::uint32_t* roots);

}  // namespace rix::segmentation
