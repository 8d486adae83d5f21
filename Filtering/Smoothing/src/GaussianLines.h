#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "GaussianJob.h"

namespace rix::filtering::smoothing {

/// Whether lines along an axis are smoothed by a recursion.
bool isRecursive(double deviation);

/// Smooths the lines of an axis by a recursion; the very same image, or one that shares no memory with the input.
/// @param mayBeWild whether there may be samples that are not finite, or nearly so
void smoothRecursively(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                       const GaussianJob& job, Components axis, bool mayBeWild, OptimLevelType level);

/// The most bytes that such a run holds. @param narrowest of the images that passes read and write
/// @param inputType of the input of the first pass
std::size_t recursiveWorkingBytes(const ImageModel& narrowest, VoxelTypes inputType, const GaussianJob& job,
                                  Components axis, bool mayBeWild, std::size_t threads);

}  // namespace rix::filtering::smoothing
