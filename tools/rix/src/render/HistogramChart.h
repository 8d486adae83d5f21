#pragma once

#include <rix/image/ImageModel.h>

#include "Picture.h"

namespace rix::cli {

/// A chart of 800 x 500 pixels: how many voxels have which intensity, and where the four automatic criteria
/// (`AutoThresholdingValue`, over the whole range of intensities) part the image. A criterion that cannot part it is
/// listed without a mark. Voxels that are no number or infinite are left out.
/// @throws Failure (wrong usage) for complex images and images without a finite voxel.
Picture drawHistogram(const ImageModel& image);

}  // namespace rix::cli
