#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "BoxJob.h"
#include "LocalStatisticsKernels.h"

namespace rix::filtering::smoothing {

/// Along each axis windows have at most so many voxels: sums of squares of 16-bit integers then fit 64 bits, those of
/// 32-bit integers 128 bits, times the voxels.
inline constexpr std::int32_t largestWindow = 1024;

/// Makes the job one for integers of a type.
void prepareForIntegers(BoxJob& job, VoxelTypes type);

/// Writes what is to be told of all windows of an image of integers into one of `float32`: one step of the run.
void tellOfIntegers(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const BoxJob& job,
                    LocalStatistic statistic, OptimLevelType level);

}  // namespace rix::filtering::smoothing
