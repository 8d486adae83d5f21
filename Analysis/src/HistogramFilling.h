#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>
#include <rix/math/Histogram.h>

#include "ValueCounts.h"

namespace rix::analysis {

/// Counts the voxels of an image of a real type that lie in the range of the histogram. One step of the run.
void fillHistogram(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                   math::Histogram& histogram);

/// Peak bytes of working memory of that.
std::size_t fillingMemory(const ImageModel& image, std::size_t classes, std::size_t threads);

/// The same from the counts of the values.
void fillHistogram(const ValueCounts& values, math::Histogram& histogram);

}  // namespace rix::analysis
