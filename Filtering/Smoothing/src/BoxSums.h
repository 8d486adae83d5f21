#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "BoxJob.h"

namespace rix::filtering::smoothing {

/// Writes the sums or means of all windows into an image of the right shape and type that shares nothing with the
/// input: one step of the run.
void sumBoxes(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const BoxJob& job,
              OptimLevelType level);

/// The same of reals, as `float64`, whatever reals the input has.
void sumBoxesInDoubles(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                       const BoxJob& job, OptimLevelType level);

}  // namespace rix::filtering::smoothing
