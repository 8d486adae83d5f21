#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Takes short branches off the skeletons of each plane: those that lead from a free end to a branch point and are
/// shorter than a length.
///
/// A free end is a voxel with at most one of 8 neighbours in the skeleton, a branch point a connected set of voxels
/// with three neighbours or more. The length of a branch is the sum of its steps from voxel to voxel, the last to the
/// branch point that it meets: 1 across an edge, the root of 2 across a corner, with `WORLD` by the spacings. All
/// branches are measured as they are in the input, and those that are too short go at once, but for the voxels of the
/// branch point; what is left is thinned as by `Skeleton2d`. Lines between two branch points, lines with two free ends
/// and closed ones stay, so that the numbers of objects and holes do.
///
/// **Input** `inputObjectImage`: what is not 0 (NaN also) is the skeleton, as `Skeleton2d` gives it. Any extents on all
/// five axes, scalar elements, any real type (`uint8` to `float64`). Every plane, for every sequence and spectral
/// index, by itself.
/// **Input** `minimumLength`: at least 0, with which nothing goes.
/// **Output** `outputBinaryImage`: binary, `uint8`, of the input's extents and calibration. It may be the input image
/// where that is `uint8`.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a length that is negative
/// or
///         not finite, an unknown unit, and for `WORLD` a spacing of 0 or not finite; MemoryError when there is no
///         memory.
/// Cost: some passes over one bit a voxel and some 200 ns a voxel of the skeleton, on one thread. Memory: four bits a
/// voxel and some hundred bytes a voxel of the skeleton.
class RIX_EXPORT PruneSkeleton2d : public BaseAlgorithm {
    RIX_ALGORITHM(PruneSkeleton2d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Default 10.
    RIX_INPUT(double, MinimumLength, minimumLength)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
