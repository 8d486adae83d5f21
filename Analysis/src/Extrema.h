#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "ExtremaKernels.h"

namespace rix::analysis {

class IntensityExtremaMsr;

/// The extrema of an image of a real type. One step of the run.
Extrema measureExtrema(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image);

/// Brings extrema into the result object.
void publish(const Extrema& extrema, IntensityExtremaMsr& measurement);

}  // namespace rix::analysis
