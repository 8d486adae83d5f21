#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "GaussianJob.h"

namespace rix::filtering::smoothing {

/// Smooths an image into another of the same extents.
/// @param inPlace the images share samples: a temporary image takes the result, then it is copied
void smoothGaussian(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                    const GaussianJob& job, bool inPlace, OptimLevelType level);

/// Most bytes that a run takes beyond its images.
std::size_t gaussianWorkingBytes(const ImageModel& input, VoxelTypes outputType, const GaussianJob& job, bool inPlace,
                                 std::size_t threads);

}  // namespace rix::filtering::smoothing
