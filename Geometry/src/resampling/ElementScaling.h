#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/image/ImageModel.h>

#include "resampling/SeparableScaling.h"

/// Scaled images whose samples are samples of the input, exactly and in any type.
namespace rix::geometry {

/// The element whose stretch holds the middle of the new one, on each axis.
void scaleNearest(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                  const ImageScales& scales);
std::size_t nearestMemory(const ImageModel& input, const ImageScales& scales, std::size_t threads);

/// The sample that has the largest share of the box that the new element covers; of equal shares the smallest sample.
/// @param input real, without NaN
void scaleByMajority(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                     const ImageScales& scales);
std::size_t majorityMemory(const ImageModel& input, const ImageScales& scales, std::size_t threads);

}  // namespace rix::geometry
