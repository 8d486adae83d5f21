#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Gives the voxels of a mask the length of the shortest way from a marker that stays within the mask, in each plane:
///
///     D(p) = min over all chains of neighbours within the mask, from a voxel of the marker to p, of the sum of
///            their steps
///
/// A step is as long as neighbours are apart: 1 across an edge and the root of 2 across a corner, with `WORLD` by the
/// spacings of the mask. Voxels of the marker outside the mask are no start.
///
/// **Input** `inputMarkerImage`: what is not 0 is where ways begin. `inputMaskImage`: what is not 0 is where they lead;
/// NaN is a wall. Of the same extents on all five axes, scalar elements, any real type (`uint8` to `float64`) each.
/// Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputDistanceImage`: `float32` of the mask's extents and calibration; infinite where no way leads and
/// outside the mask. It may be the mask image where that has the type, but shares no memory with the marker.
///
/// Sums are taken step by step in `float64` and rounded at the end. Ways that turn corners are as long as a chain of
/// voxels: up to 8 % longer than straight lines for `CONNECTIVITY_8`, 41 % for `CONNECTIVITY_4`. The same bits on every
/// level, for every number of threads and every storage.
///
/// Method: tiles in which ways are followed until none is shorter, and which exchange what crosses their borders until
/// nothing does; the result is unique.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, images of different
///         extents, an unknown choice, an output in the memory of the marker, and for `WORLD` a spacing of 0 or not
///         finite; MemoryError when there is no memory.
/// Cost: some visits of a voxel, more where ways wind through many tiles. Memory: nine bytes a voxel, and tiles; see
/// `describe`.
class RIX_EXPORT GeodesicDistanceMap2d : public BaseAlgorithm {
    RIX_ALGORITHM(GeodesicDistanceMap2d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputDistanceImage, outputDistanceImage)
};

}  // namespace rix::morphology
