#pragma once

#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "GatheringNeeds.h"
#include "ObjectTable.h"

namespace rix::individual_analysis {

/// The first pass: finds the labels of every frame and gathers the quantities that are needed, in one reading of the
/// images. One step of the run, measured in voxels.
/// @param intensity may be null when no quantity needs grey values
/// @return a table for each frame, in the order of the labels
std::vector<ObjectTable> gatherObjects(access::ExecutionContext& context, OptimLevelType level,
                                       const ImageModel& labels, const ImageModel* intensity,
                                       const GatheringNeeds& needs);

}  // namespace rix::individual_analysis
