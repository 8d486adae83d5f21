#pragma once

#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Whether an image may hold objects: unsigned 8, 16 and 32-bit and signed 8 and 16-bit samples.
bool isObjectType(VoxelTypes type);

/// What is foreground.
enum class PackedVoxels : std::uint8_t { NotZero, Zeros };

/// Reads the image: notes where its foreground is and counts the runs of every row and band.
/// @param input that may hold objects, or of any real type if it is binary
template <class Node>
void packImage(access::ExecutionContext& context, RunTable<Node>& table, const ImageModel& input, OptimLevelType level,
               PackedVoxels voxels = PackedVoxels::NotZero);

}  // namespace rix::segmentation
