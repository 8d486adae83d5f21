#pragma once

#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "labeling/BandLoop.h"
#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Whether an image may hold objects: unsigned 8, 16 and 32-bit and signed 8 and 16-bit samples.
bool isObjectType(VoxelTypes type);

/// Reads the image: notes where it is not 0 and counts the runs of every row and band.
template <class Node>
void packImage(const BandLoop& loop, RunTable<Node>& table, const ImageModel& input, OptimLevelType level,
               double workOfVoxel);

}  // namespace rix::segmentation
