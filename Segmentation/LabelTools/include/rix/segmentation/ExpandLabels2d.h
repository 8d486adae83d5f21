#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Grows the labels of each plane by a distance, without letting them run together:
///
///     out(p) = in(p) where that is not 0; else the label of the nearest labelled voxel q, if |p - q| <= distance; else
///     0
///
/// The distance is the exact Euclidean one, from centre to centre; of several nearest voxels the one of the lowest
/// raster index counts, with `WORLD` roundings decide (see `DistanceMap2d`). Any distance above the diagonal of a plane
/// gives the zones of influence of the labels.
///
/// **Input** `inputLabelImage`: scalar elements, integers (`uint8` to `int32`), any extents on all five axes; what is
/// not 0 is a label. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputLabelImage`: the input's type, extents and calibration, interpretation label. It shares no memory
/// with the input.
///
/// The same bits on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, reals, a complex or vector image, a distance that is
///         negative, not finite or above 2^31 voxels, an unknown choice, for `WORLD` a spacing of 0 or not finite, more
///         than 2^32 - 2 voxels a plane, and an output in the memory of the input; MemoryError when there is no memory.
/// Cost: that of a distance map with nearest voxels. Memory: 12 bytes a voxel, and its; see `describe`.
class RIX_EXPORT ExpandLabels2d : public BaseAlgorithm {
    RIX_ALGORITHM(ExpandLabels2d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    /// Default 1.
    RIX_INPUT(double, Distance, distance)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
