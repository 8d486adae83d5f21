#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Reverses an axis: out[i] = in[n - 1 - i].
///
/// The object stays where it is in the world: the axis' direction is reversed, and the origin goes to the other end.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any type, complex ones as well. Spacings of
/// axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1, and the
/// output has it.
/// **Output** `outputImage`: the input's type, interpretations and calibration, but for origin and direction. It shares
/// no samples with the input.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, spacings that are none,
/// an
///         unknown axis, and an output that shares samples with the input; ResizeImageError or MemoryError when there
///         is no memory.
/// Cost: that of a copy.
class RIX_EXPORT Flip : public BaseAlgorithm {
    RIX_ALGORITHM(Flip)

    /// The axis that is reversed.
    enum Axis : int { COLUMNS = 0, ROWS, PLANS };
    static const EnumInfo& getInfoAxis();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `COLUMNS`.
    RIX_CHOICE(Axis, Axis, axis, getInfoAxis)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
