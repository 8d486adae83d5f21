#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/LabelBoundariesMode.h>

namespace rix::segmentation {

/// Finds the boundaries of labels, in each plane. With N(p) the neighbours of p within the plane:
///
///     INNER    out(p) = 1 where in(p) is not 0 and some q of N(p) has another value
///     OUTER    out(p) = 1 where in(p) is 0 and some q of N(p) has not
///     BETWEEN  out(p) = 1 where in(p) is not 0 and some q of N(p) has another value that is not 0
///
/// The edges of planes are no boundaries.
///
/// **Input** `inputLabelImage`: scalar elements, integers (`uint8` to `int32`), any extents on all five axes; also
/// binary images. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputBinaryImage`: `uint8`, binary, of the input's extents and calibration. It shares no memory with
/// the input.
///
/// The same bits on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, reals, a complex or vector image, an unknown choice,
/// and
///         an output in the memory of the input.
/// Cost: a pass with a comparison a neighbour.
class RIX_EXPORT LabelBoundaries2d : public BaseAlgorithm {
    RIX_ALGORITHM(LabelBoundaries2d)

    /// Which voxels are boundaries.
    using LabelBoundariesMode = segmentation::LabelBoundariesMode;
    using enum segmentation::LabelBoundariesMode;
    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    /// Default `INNER`.
    RIX_CHOICE(LabelBoundariesMode, Mode, mode, getInfoLabelBoundariesMode)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::segmentation
