#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/morphology/SkeletonGraphMsr.h>

namespace rix::morphology {

/// Measures the branches of the skeletons of each volume: a table of the graph that a skeleton is.
///
/// The three-dimensional form of `SkeletonGraph2d`: every volume, for every sequence and spectral index, by itself,
/// with 26 neighbours. Definition, types and failures are shared.
class RIX_EXPORT SkeletonGraph3d : public BaseAlgorithm {
    RIX_ALGORITHM(SkeletonGraph3d)

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
