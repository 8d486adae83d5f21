#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::manipulation {

/// Replaces grey values by the entries of a table: a voxel of value v becomes `table[v]`.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). A
/// binary image counts as 0 and 1, whatever it holds beside 0.
/// **Input** `table`: one number or more. Values below 0 have the first entry, values beyond the end the last. Between
/// integers a real voxel gets what lies between two entries in proportion.
/// **Output** `outputImage`: takes the input's extents, type, calibration and colour interpretation; interpretation
/// value. It may be the input image.
///
/// In integer types entries are rounded to the nearest integer, ties to even, and clamped to the type. NaN stays NaN.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an empty table and one with
///         an entry that is not finite.
/// Cost: a look-up a voxel. Extra memory: the table in the type of the image.
class RIX_EXPORT LookUpTable : public BaseAlgorithm {
    RIX_ALGORITHM(LookUpTable)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0 and 255: what is above 0 becomes 255.
    RIX_INPUT(container::Vector<double>, Table, table)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
