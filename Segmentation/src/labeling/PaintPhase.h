#pragma once

#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "labeling/BandLoop.h"
#include "labeling/RunTable.h"

namespace rix::segmentation {

/// Replaces what entries are still names by the labels of their sets and writes every label into the image. Labels of
/// other bands are only read.
/// @tparam T the output's voxel type, which holds every label
template <class Node, class T>
void paintLabels(const BandLoop& loop, RunTable<Node>& table, ImageModel& output, OptimLevelType level,
                 double workOfVoxel);

}  // namespace rix::segmentation
