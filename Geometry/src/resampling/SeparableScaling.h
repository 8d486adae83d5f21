#pragma once

#include <array>
#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "resampling/LineWeights.h"

namespace rix::geometry {

/// The scales of the columns, rows and planes of an image.
using ImageScales = std::array<LineScale, 3>;

/// Makes an image of other extents, axis by axis: sums with the weights of the planes, then those of rows and columns,
/// in the order that leaves less to do. Takes as many steps of the run as it needs.
/// @param input real; `output` of its type and the extents of the scales. They share no samples.
void scaleImage(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                const ImageScales& scales, OptimLevelType level);

/// The most bytes that it holds.
std::size_t scalingMemory(const ImageModel& input, const ImageScales& scales, std::size_t threads);

/// The extents of an image that was scaled.
std::array<std::size_t, RIX_COMPONENTS_SIZE> scaledExtents(const ImageModel& input, const ImageScales& scales);

}  // namespace rix::geometry
