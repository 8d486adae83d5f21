#pragma once

#include <rix/String.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/morphology/DistanceChoices.h>

namespace rix::morphology {

/// Gives voxels the distance to the nearest voxel that is of something else, in each volume.
///
/// The three-dimensional form of `DistanceMap2d`: every volume, for every sequence and spectral index, by itself; dz
/// beside dx and dy, raster indices (z * rows + y) * columns + x, and three chamfer weights a <= b <= c, for
/// neighbours across faces, edges and corners. Definition, types, values and failures are shared.
///
/// Cost: as for planes, and a pass more. Memory: where heights are no integers (`WORLD`, very large volumes) eight
/// bytes a voxel, for a nearest image four more; else some rows a thread; see `describe`.
class RIX_EXPORT DistanceMap3d : public BaseAlgorithm {
    RIX_ALGORITHM(DistanceMap3d)

    /// How distances are measured.
    using Metric = DistanceMetric;
    using enum DistanceMetric;
    /// Which voxels get a distance.
    using Side = DistanceSide;
    using enum DistanceSide;
    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Whether background lies beyond the edges.
    using BorderIsBackground = BorderBackground;
    using enum BorderBackground;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Default `EUCLIDEAN`.
    RIX_CHOICE(Metric, Metric, metric, getInfoDistanceMetric)
    /// Default `INSIDE`.
    RIX_CHOICE(Side, Side, side, getInfoDistanceSide)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `NO`.
    RIX_CHOICE(BorderIsBackground, BorderIsBackground, borderIsBackground, getInfoBorderBackground)
    /// Of `CHAMFER`; default "3,4,5".
    RIX_INPUT(String, ChamferWeights, chamferWeights)
    RIX_OUTPUT(ImageModel*, OutputDistanceImage, outputDistanceImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputNearestImage, outputNearestImage)
};

}  // namespace rix::morphology
