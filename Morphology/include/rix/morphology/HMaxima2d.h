#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Takes maxima of little contrast out of each plane: reconstructs it by dilation from the image less `contrast` (see
/// `ReconstructionByDilation2d`). A maximum keeps its shape, but loses `contrast`, down to where it joins what lies
/// higher; one that rises by less than that above all ways to higher ones is gone.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), or
/// binary. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputImage`: takes the input's extents, type, calibration and interpretation. It may be the input
/// image; the run then needs a copy of it.
///
/// Of integers `contrast` is rounded up, and what lies below their range is its end (of binary images 0). Reals are
/// subtracted in double precision and rounded to their type. NaN is a wall that stays NaN. -0 lies below +0.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a contrast that is negative
///         or not finite and an unknown neighbourhood; MemoryError when there is no memory.
/// Cost and memory: those of `ReconstructionByDilation2d`.
class RIX_EXPORT HMaxima2d : public BaseAlgorithm {
    RIX_ALGORITHM(HMaxima2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Least contrast of what stays; default 1.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
