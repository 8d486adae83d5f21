#pragma once

#include <rix/String.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/morphology/DistanceChoices.h>

namespace rix::morphology {

/// Gives voxels the distance to the nearest voxel that is of something else, in each plane: those of objects to the
/// background (`INSIDE`), those of the background to the objects (`OUTSIDE`), or both, with a minus sign in the
/// background (`SIGNED`). The others get 0.
///
///     D(p) = min { |p - q| : value(q) != value(p) }
///
/// In a label image each object has its own distance, to any other value; elsewhere all voxels but 0 are one object.
///
/// **Input** `inputObjectImage`: binary, labels, or any other whose 0 is background; any extents on all five axes, of
/// columns and rows up to 2^28, scalar elements, any real type (`uint8` to `float64`). Every plane, for every sequence
/// and spectral index, by itself.
/// **Output** `outputDistanceImage`: `float32` of the input's extents and calibration. It may be the input image where
/// that has the type; the run then needs a copy of it.
/// **Output** `outputNearestImage`, optional: the raster index y * columns + x of the nearest voxel plus 1, `uint32`;
/// of a label image its label, in the type of the input. Of several at the same distance that of the lowest index; with
/// `WORLD` roundings decide. Voxels that get no distance are nearest to themselves. 0 where there is none, or it lies
/// beyond the edge.
///
/// **Metric** `EUCLIDEAN`, the root of dx^2 + dy^2; `CITY_BLOCK`, |dx| + |dy|; `CHESSBOARD`, the larger of both;
/// `CHAMFER`, the cheapest chain of steps, whose prices are the `chamferWeights`: to the neighbours across edges and
/// corners, and if there is a third one also that of a knight's move; in the unit of the weights. With `WORLD` offsets
/// are multiplied by the spacing of their axis, but not those of `CHAMFER`.
///
/// **Border.** What lies beyond the edges is no voxel; with `borderIsBackground` it is background. Where there is no
/// other value, the distance is infinite.
///
/// **Exactness.** With voxels as unit the root of the exact integer, rounded correctly (of squares below 2^50), and
/// integers for other metrics; with `WORLD` sums of `float64`, in the order x, y, rounded to `float32` at the end.
/// The same bits on every level, for every number of threads and every storage.
///
/// Method: on columns steps are counted; along rows the least of one more axis is taken between the places that the
/// neighbours' came from, whose order is that of the neighbours, because costs are convex (after Hirata, A unified
/// linear-time algorithm for computing distance maps, Information Processing Letters 58, 1996). Chamfer: two scans
/// (Borgefors, Distance transformations in digital images, Computer Vision, Graphics, and Image Processing 34, 1986).
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an extent above 2^28, an
///         unknown choice, chamfer weights other than 2 or 3 whole numbers from 1 to 10000, a <= b and, of three,
///         2 a <= c, or so large that distances would not be exact; for `WORLD` a spacing of 0 or not finite; for a
///         nearest image more than 2^32 - 2 voxels a plane, `CHESSBOARD` with `WORLD`, and outputs that share memory;
///         MemoryError when there is no memory.
/// Cost: linear in voxels but for a logarithm of the extents in places far from everything; chamfer scans a plane on
/// one thread. Memory: some rows a thread; more for a nearest image, see `describe`.
class RIX_EXPORT DistanceMap2d : public BaseAlgorithm {
    RIX_ALGORITHM(DistanceMap2d)

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
    /// Of `CHAMFER`; default "5,7,11".
    RIX_INPUT(String, ChamferWeights, chamferWeights)
    RIX_OUTPUT(ImageModel*, OutputDistanceImage, outputDistanceImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputNearestImage, outputNearestImage)
};

}  // namespace rix::morphology
