#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/morphology/SkeletonGraphMsr.h>

namespace rix::morphology {

/// Measures the branches of the skeletons of each plane: a table of the graph that a skeleton is.
///
/// Nodes are its free ends (voxels with at most one of 8 neighbours in it) and its branch points (connected sets of
/// voxels with three neighbours or more), whose position is the mean of their voxels. Branches lead from node to node
/// over voxels with two neighbours. A closed line without a branch point begins and ends in its first voxel; a voxel by
/// itself is a branch of length 0.
///
/// **Input** `inputObjectImage`: what is not 0 (NaN also) is the skeleton, as `Skeleton2d` gives it. Any extents on all
/// five axes, scalar elements, any real type (`uint8` to `float64`). Every plane, for every sequence and spectral
/// index, by itself.
/// **Choice** `lengthUnit`: positions and lengths in voxels (`VOXEL`), or in the image's unit: origin plus index times
/// spacing along its axes.
/// **Output** `outputMeasurement`: the table, a row a branch: the numbers and positions of its two nodes, its length
/// (the sum of its steps from voxel to voxel, to the voxels of the nodes), how far the nodes are apart, its number of
/// voxels, and how many of its nodes are free ends: 0 between branch points and for closed lines, 1 or 2.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an unknown unit, and for
///         `WORLD` a spacing of 0 or not finite; MemoryError when there is no memory.
/// Cost: a pass and some 200 ns a voxel of the skeleton, on one thread. Memory: a bit a voxel and some hundred bytes a
/// voxel of the skeleton.
class RIX_EXPORT SkeletonGraph2d : public BaseAlgorithm {
    RIX_ALGORITHM(SkeletonGraph2d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Made by the algorithm when unset.
    RIX_RESULT(SkeletonGraphMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::morphology
