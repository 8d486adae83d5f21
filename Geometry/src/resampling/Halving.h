#pragma once

#include "resampling/SeparableScaling.h"

namespace rix::geometry {

/// Whether planes are halved by means of blocks of two by two elements of 1 or 2 bytes or `float32`: what pyramids are
/// made of.
bool halvesPlanes(const ImageModel& input, const ImageScales& scales);

/// Does that, in one pass over the image: the same as `scaleImage` gives. One step of the run; takes no memory.
void halvePlanes(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, OptimLevelType level);

}  // namespace rix::geometry
