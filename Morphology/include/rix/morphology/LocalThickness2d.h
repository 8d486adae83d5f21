#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Gives the voxels of objects in each plane the diameter of the largest disc within the object that covers them: how
/// thick the object is there (T. Hildebrand, P. Ruegsegger, A new method for the model-independent assessment of
/// thickness in three-dimensional images, 1997),
///
///     T(p) = max { 2 D(q) : |p - q| < D(q) },
///
/// where D is the distance to the nearest voxel of the background (see `DistanceMap2d`) and q any voxel of the object.
///
/// **Input** `inputObjectImage`: what is not 0 (NaN also) is an object. Any extents up to 2^28 along an axis, scalar
/// elements, any real type (`uint8` to `float64`). Every plane, for every sequence and spectral index, by itself. What
/// lies beyond the edges is no background.
/// **Choice** `lengthUnit`: diameters in voxels (`VOXEL`), or in the image's unit, of discs that are round in the
/// world.
/// **Output** `outputImage`: `float32`, of the input's extents and calibration; 0 outside of objects, infinite where
/// there is no background at all. It may be the input image where that is `float32`.
///
/// Distances have the precision of `float32`: a voxel counts as covered when it is nearer than D by more than two
/// ten-millionths, which is the definition to the letter for radii up to 1600 voxels. The same bits on every level, for
/// every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an axis that is too long,
/// an
///         unknown unit, and for `WORLD` a spacing of 0 or not finite; MemoryError when there is no memory.
/// Method: discs that lie in that of a neighbour are left out; the others are painted from the largest down, rows of
/// voxels at a time, and what has a diameter is skipped.
/// Cost: a distance map, and for each disc that is left its height in rows. Memory: four bytes a voxel, for a part of
/// the rows four more, and 12 bytes a disc.
class RIX_EXPORT LocalThickness2d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalThickness2d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
