#pragma once

#include <functional>

#include <rix/image/ImageModel.h>

#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>

namespace rix::rendering {

/// A chart of 800 x 500 pixels: how many voxels of one volume have which intensity, and where the four automatic
/// criteria
/// (`AutoThresholdingValue`, over the whole range of intensities) part it. Unless chosen, it is the first frame of the
/// first channel, whose threshold `AutoThresholdingBright` applies to the whole image; else the thresholds are those of
/// the volume by itself. A criterion that cannot part it is listed without a mark. Voxels that are no number or
/// infinite are left out.
/// @param choice of frame and channel; planes are all counted
/// @param poll called now and then while the image is read: may throw to end it
/// @throws NotDrawable for complex images, images without a finite voxel and a choice outside the image.
Picture drawHistogram(const ImageModel& whole, const SliceChoice& choice, const std::function<void()>& poll);

}  // namespace rix::rendering
