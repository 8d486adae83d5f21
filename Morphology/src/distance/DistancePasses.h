#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "distance/DistanceTask.h"

namespace rix::morphology {

/// Distances of all metrics but chamfer, axis after axis: steps on columns, then rows, then planes. A step of the run.
/// @param output `float32`, shares no memory with the image
void measureDistances(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                      ImageModel& output, OptimLevelType level);

/// The most bytes that it holds.
std::size_t distanceBytes(const ImageModel& image, const DistanceTask& task, const ImageModel* output,
                          std::size_t threads);

/// The same with the nearest voxels: their raster indices plus 1, or of labels their values.
/// @param nearest `uint32`, or of the type of the image; shares no memory with the others
void measureNearest(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                    ImageModel& output, ImageModel& nearest, OptimLevelType level);

std::size_t nearestBytes(const ImageModel& image, const DistanceTask& task, const ImageModel* output,
                         std::size_t threads);

}  // namespace rix::morphology
