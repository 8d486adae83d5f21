#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "GaussianJob.h"

namespace rix::filtering::smoothing {

/// Smooths volumes by finite sums along all three axes in one pass over memory: of a band of rows as many smoothed
/// planes as the sums across planes need stay in cache. Each sample is computed as axis by axis.
/// @param output shares no samples with the input
template <class T>
void smoothVolumes(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                   const GaussianJob& job, OptimLevelType level);

/// The most bytes that such a run holds. @param workBytes of a sample of the sums
std::size_t volumeWorkingBytes(const ImageModel& input, std::size_t workBytes, const GaussianJob& job,
                               std::size_t threads);

}  // namespace rix::filtering::smoothing
