#pragma once

#include <functional>

#include <rix/image/ImageModel.h>

#include <rix/rendering/Picture.h>

namespace rix::rendering {

/// A chart of 800 x 500 pixels: how many voxels have which intensity, and where the four automatic criteria
/// (`AutoThresholdingValue`, over the whole range of intensities) part the image. A criterion that cannot part it is
/// listed without a mark. Voxels that are no number or infinite are left out.
/// @param poll called now and then while the image is read: may throw to end it
/// @throws NotDrawable for complex images and images without a finite voxel.
Picture drawHistogram(const ImageModel& image, const std::function<void()>& poll);

}  // namespace rix::rendering
