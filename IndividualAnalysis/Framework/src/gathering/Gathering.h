#pragma once

#include <cstdint>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "ObjectTable.h"

namespace rix::individual_analysis {

/// The first pass: finds the labels of every frame and sums what is asked for, in one reading of the images. One step
/// of the run, measured in voxels.
/// @param intensity may be null when no grey values are gathered
/// @param gathered bits of `GatheredData`
/// @return a table for each frame, in the order of the labels
std::vector<ObjectTable> gatherObjects(access::ExecutionContext& context, OptimLevelType level,
                                       const ImageModel& labels, const ImageModel* intensity, std::uint32_t gathered);

}  // namespace rix::individual_analysis
