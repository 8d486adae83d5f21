#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::morphology {

/// Fills each object of each plane to its convex hull: a voxel gets a label when its centre lies in the smallest convex
/// polygon around the centres of the voxels with that label, on its edges too. Where hulls overlap the smaller label is
/// taken.
///
/// **Input** `inputLabelImage`: the labels; 0 is background, and so is NaN. A binary image is one object a plane. Any
/// extents on all five axes, scalar elements, any real type (`uint8` to `float64`). Every plane, for every sequence and
/// spectral index, by itself.
/// **Output** `outputLabelImage`: takes the input's extents, type, calibration and interpretation. It may be the input
/// image; the run then needs a copy of it.
///
/// Exact: edges are followed in integers.
///
/// @throws RuleException from `run` for an unset or empty image, and a complex or vector image; MemoryError when there
/// is
///         no memory.
/// Method: of each row of an object its first and last voxel; the hulls of these (A. M. Andrew, Another efficient
/// algorithm for convex hulls in two dimensions, 1979), drawn from the largest label down. Cost: a pass, a sort of the
/// rows of objects, and the area of the hulls; planes on threads. Memory: 32 bytes for each piece of a row that has one
/// label, and 32 a row.
class RIX_EXPORT ConvexHullOfObjects2d : public BaseAlgorithm {
    RIX_ALGORITHM(ConvexHullOfObjects2d)

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::morphology
