#pragma once

#include <cstddef>

#include <rix/access/Blocks.h>
#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "GaussianJob.h"

namespace rix::filtering::smoothing {

/// Smooths an image into another of the same extents.
/// @param inPlace the images share samples: a temporary image takes the result, then it is copied
void smoothGaussian(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                    const GaussianJob& job, bool inPlace, OptimLevelType level);

/// Which voxels the bits of a result follow from: ceil(5 s) a side, and the whole line where sums are recursive, though
/// what they weigh beyond that is not of the Gaussian.
access::Reach gaussianInfluence(const ImageModel& input, VoxelTypes outputType, const GaussianJob& job);

/// Most bytes that a run takes beyond its images.
std::size_t gaussianWorkingBytes(const ImageModel& input, VoxelTypes outputType, const GaussianJob& job, bool inPlace,
                                 std::size_t threads);

/// The same from an image of `float64`, of the extents of another, to one like it.
std::size_t gaussianWorkingBytesInDoubles(const ImageModel& like, const GaussianJob& job, std::size_t threads);

}  // namespace rix::filtering::smoothing
