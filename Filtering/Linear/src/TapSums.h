#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "ConvolutionJob.h"

namespace rix::filtering::linear {

/// Sums the products of each voxel of an image, one after the other.
/// @param output shares no samples with the input, unless there is a pass along planes
void sumTaps(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const ConvolutionJob& job,
             OptimLevelType level);

/// Most bytes that this takes beyond its images.
std::size_t tapSumBytes(const ImageModel& input, VoxelTypes outputType, const ConvolutionJob& job, std::size_t threads);

}  // namespace rix::filtering::linear
