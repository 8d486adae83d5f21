#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/image/ImageModel.h>

#include "GridRows.h"

namespace rix::segmentation {

/// A flood from markers, as `MarkerBasedWatershed2d` tells.
struct FloodTask {
    const ImageModel& relief;
    const ImageModel* mask;  ///< null for none
    const ImageModel& markers;
    ImageModel& output;  ///< integers; shares no memory with the others
    Neighbors neighbors;
    bool lines;
};

/// A step of the run. @return how many voxels are no walls and were not reached
std::size_t floodFromMarkers(access::ExecutionContext& context, const FloodTask& task);

/// The bytes that it holds. @param mask,markers or null where they hold no rows of their own
std::size_t floodFromMarkersBytes(const ImageModel& relief, const ImageModel* mask, const ImageModel* markers,
                                  const Neighbors& neighbors, std::size_t threads);

}  // namespace rix::segmentation
