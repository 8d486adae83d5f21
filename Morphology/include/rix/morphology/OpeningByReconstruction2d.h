#pragma once

#include <rix/algorithms/FilterChoices.h>
#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// Takes out what is bright and does not hold a structuring element in each plane, and leaves the shape of the rest as
/// it is: an erosion, from which the image is reconstructed by dilation (see `ReconstructionByDilation2d`). An opening
/// rounds what it keeps, this does not.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), or
/// binary. Every plane, for every sequence and spectral index, by itself. Beyond the edges nothing takes part.
/// **Output** `outputImage`: takes the input's extents, type, calibration and interpretation. It may be the input
/// image; the run then needs a copy of it.
///
/// NaN takes no part in the erosion, and is a wall that stays NaN in the reconstruction. -0 lies below +0.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an unknown neighbourhood,
///         and what the element is refused for (see `ElementOwner2d`); MemoryError or ResizeImageError when there is no
///         memory.
/// Cost: those of an erosion and of a reconstruction. Memory: a temporary image, and what both need.
class RIX_EXPORT OpeningByReconstruction2d : public ElementOwner2d {
    RIX_ALGORITHM(OpeningByReconstruction2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
