#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/LabelBoundariesMode.h>

namespace rix::segmentation {

/// Finds the boundaries of labels, in each volume.
///
/// The three-dimensional form of `LabelBoundaries2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT LabelBoundaries3d : public BaseAlgorithm {
    RIX_ALGORITHM(LabelBoundaries3d)

    /// Which voxels are boundaries.
    using LabelBoundariesMode = segmentation::LabelBoundariesMode;
    using enum segmentation::LabelBoundariesMode;
    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    /// Default `INNER`.
    RIX_CHOICE(LabelBoundariesMode, Mode, mode, getInfoLabelBoundariesMode)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::segmentation
