#pragma once

#include <array>
#include <cstddef>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/image/ImageModel.h>

/// For images whose extents are given by numbers, which may be any.
namespace rix::rules {

/// Refuses extents of which no image can be counted in 64 bits, or that takes more bytes than the setting
/// RIX_MAXIMUM_IMAGE_SIZE allows or, without it, than this machine has memory.
/// @param voxelType of an image of one sample an element
/// @param output that will have them, or null; one on disk need not fit memory
/// @param names of the properties that the extents follow from, for the message: "sizeX, sizeY"
/// @throws RuleException
RIX_EXPORT void assertImageFits(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, VoxelTypes voxelType,
                                const ImageModel* output, const String& names);

}  // namespace rix::rules
