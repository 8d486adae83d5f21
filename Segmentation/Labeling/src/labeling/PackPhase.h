#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Whether an image may hold objects: unsigned 8, 16 and 32-bit and signed 8 and 16-bit samples.
bool isObjectType(VoxelTypes type);

/// Reads the image: notes where it is not 0 and counts the runs of every row and band.
template <class Node>
void packImage(access::ExecutionContext& context, RunTable<Node>& table, const ImageModel& input, OptimLevelType level);

}  // namespace rix::segmentation
