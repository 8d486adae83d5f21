#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Grows markers in each plane as far as a mask lets them: the reconstruction by dilation of the mask I from the marker
/// M, the fixed point of J <- min(dilation(J), I) that starts at min(M, I),
///
///     J(p) = max over all paths from any q to p, of the smallest of M(q) and all values of I on the path.
///
/// Bright regions of the mask that hold a marker come back up to the level of the marker, others are gone. Paths step
/// between neighbours.
///
/// **Input** `inputMarkerImage`, `inputImage` (the mask): the same extents on all five axes and the same type, any real
/// one (`uint8` to `float64`), scalar elements. Binary images count as 0 and 1, and so does any marker beside a binary
/// mask. Every plane, for every sequence and spectral index, is reconstructed by itself.
/// **Output** `outputImage`: takes extents, type, calibration and interpretation of the mask. It may be one of the
/// inputs; the run then needs a copy of it.
///
/// The marker is cut to the mask first. A mask of NaN is a wall that stays NaN; a marker of NaN is none, and what no
/// marker reaches for that is -infinity. -0 lies below +0.
///
/// Method: the hybrid of sweeps and queues (Vincent, Morphological grayscale reconstruction in image analysis, IEEE
/// Transactions on Image Processing 2(2), 1993) in tiles that fit the cache; tiles exchange what reaches their edges
/// until nothing changes. The result is unique and so the same, bit for bit, for every number of threads.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, images of different extents
///         or types and an unknown neighbourhood; MemoryError when there is no memory.
/// Cost: two sweeps a tile, and more where paths wind. Memory: some bytes a voxel of a tile a thread, and copies of
/// images that are not one array in memory; see `describe`.
class RIX_EXPORT ReconstructionByDilation2d : public BaseAlgorithm {
    RIX_ALGORITHM(ReconstructionByDilation2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    /// The mask.
    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
