#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Replaces what entries are still names by the labels of their sets and writes every label into the image. Labels of
/// other bands are only read.
/// @tparam T the output's voxel type, which holds every label
template <class Node, class T>
void paintLabels(access::ExecutionContext& context, RunTable<Node>& table, ImageModel& output, OptimLevelType level);

}  // namespace rix::segmentation
