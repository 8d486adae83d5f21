#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Takes out what touches the edges of each plane: in a binary image the objects that do; in a label image every label
/// that occurs on the edges; in a grey image what is as bright as a way to the edge,
///
///     result = I - R,   R(p) = max over all paths from the edge to p, of the smallest value of I on the path,
///
/// the image less its reconstruction by dilation from the edge: objects inside keep their height above the background.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), binary
/// or labels. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputImage`: takes the input's extents, calibration and interpretation, and its type; differences of
/// signed integers have the unsigned type of the same width, which holds them all. It may be the input image where the
/// type is the same; the run then needs a copy of it.
///
/// NaN is a wall that stays NaN; what it keeps from the edge is infinity. Neighbours don't matter for labels.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image and an unknown
///         neighbourhood; MemoryError when there is no memory.
/// Cost and memory: those of `ReconstructionByDilation2d`; of labels a pass, planes in parallel.
class RIX_EXPORT RemoveBorderObjects2d : public BaseAlgorithm {
    RIX_ALGORITHM(RemoveBorderObjects2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the objects. Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
