#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "resampling/SeparableScaling.h"

/// Planes of bytes that are scaled linearly by fractions of small numbers, as 1.5 and 2: their places are fractions of
/// small denominators, and sums of words hold them exactly.
namespace rix::geometry {

/// Whether that is so of the columns and rows of an image.
bool hasSmallFractions(const ImageModel& input, const ImageScales& scales);
/// What the definition gives, rounded to nearest, ties to even.
void scaleByFractions(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                      const ImageScales& scales, OptimLevelType level);
std::size_t fractionsMemory(const ImageModel& input, const ImageScales& scales, std::size_t threads);

}  // namespace rix::geometry
