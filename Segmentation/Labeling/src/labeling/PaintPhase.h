#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Replaces what entries are still names by the labels of their sets and writes every label into the image. Labels of
/// other bands are only read.
/// @tparam T the output's voxel type, or that of its values where it is binary; it holds every label
/// @param turned bits that are turned around in all voxels, those of the background, too
template <class Node, class T>
void paintLabels(access::ExecutionContext& context, RunTable<Node>& table, ImageModel& output, OptimLevelType level,
                 T turned = 0);

}  // namespace rix::segmentation
