#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix::segmentation {

/// Divides each volume into supervoxels, compact parts of similar values.
///
/// The three-dimensional form of `Superpixels2d`, with which it shares the method, types, exactness and failures: S is
/// the side of a cube, parts are connected across faces, and small ones are those below a quarter of S^3. Distances are
/// in voxels, whatever their spacings. Axes that are shorter than S have one centre. Each frame is a volume of its own.
///
/// Cost: about eight distances a voxel and iteration.
class RIX_EXPORT Superpixels3d : public BaseAlgorithm {
    RIX_ALGORITHM(Superpixels3d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 200.
    RIX_INPUT(std::int32_t, NumberOfSegments, numberOfSegments)
    /// In the image's grey levels; default 10.
    RIX_INPUT(double, Compactness, compactness)
    /// Default 10.
    RIX_INPUT(std::int32_t, NumberOfIterations, numberOfIterations)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
