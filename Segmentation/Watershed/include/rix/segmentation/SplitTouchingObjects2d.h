#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Cuts objects that touch at their necks, in each plane, and numbers what is left.
///
/// The objects are divided by a watershed of their distance to the background (S. Beucher, C. Lantuejoul, 1979): each
/// maximum of the distance becomes an object of its own if it lies higher than `contrast` above the way to a higher
/// one, that is, if the neck between both is narrower by more than twice the contrast than the thinner of them. So a
/// small contrast cuts more; one that is as large as the roughness of the outline cuts where the eye would.
///
/// In other words: `DistanceMap2d` (Euclidean), then `Watershed2d` of its negative within the objects, with the
/// contrast as `minimumDepth`. Every connected object gets at least one label. Nothing is lost between labels.
///
/// **Input** `inputObjectImage`: what is not 0 is object; NaN is background. Scalar elements, any real type (`uint8` to
/// `float64`). Every plane, for every sequence and spectral index, by itself; less than 2^31 voxels each.
/// **Output** `outputLabelImage`: `uint32` labels 1, 2, 3, ... in the raster order of the first voxels of the maxima,
/// with the extents and the calibration of the input; 0 in the background. It shares no memory with the input.
///
/// With `WORLD` distances count in the unit of the spacings, and so does the contrast. The same bits on every level,
/// for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset, empty or too large image, a complex or vector image, an unknown
///         choice, a contrast that is negative or not finite, for `WORLD` a spacing of 0 or not finite, and an output
///         in the memory of the input; MemoryError when there is no memory.
/// Cost: those of the operations that it is made of. Memory: 4 bytes a voxel and theirs; see `describe`.
class RIX_EXPORT SplitTouchingObjects2d : public BaseAlgorithm {
    RIX_ALGORITHM(SplitTouchingObjects2d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// A length; default 1.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
