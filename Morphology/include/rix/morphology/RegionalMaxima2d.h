#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Finds the regional maxima of each plane: plateaus (connected voxels of one value) without a neighbour that lies
/// higher, but with one that lies lower. Those at the edges count. An image of one value has none.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), or
/// binary. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputBinaryImage`: binary `uint8`, 1 on the maxima; takes the input's extents and calibration. It may
/// be the input image where that has the type; the run then needs a copy of it.
///
/// NaN takes no part: it is no maximum and no neighbour. -0 lies below +0, and is another plateau.
///
/// Method: each voxel is compared with its neighbours, and what it found goes through its plateau, in tiles that
/// exchange it until nothing changes.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image and an unknown
///         neighbourhood; MemoryError when there is no memory.
/// Cost: a pass, and more for large plateaus. Memory: some bytes a voxel of a tile a thread, and copies of images that
/// are not one array in memory; see `describe`.
class RIX_EXPORT RegionalMaxima2d : public BaseAlgorithm {
    RIX_ALGORITHM(RegionalMaxima2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
