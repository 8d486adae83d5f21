#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Turns an image by quarter turns in a plane of two axes. One turn takes the first axis of the plane to the second: in
/// `XY`, what lay along the columns from the first on lies along the rows, and out(x, y) = in(y, n - 1 - x) for an
/// image of n rows. On a screen, where rows go down, that is clockwise.
///
/// The object stays where it is in the world: extents, spacings and directions are exchanged, one direction is
/// reversed, and the origin is where the first element comes from. So the grid is turned, not the object.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any type, complex ones as well. Spacings of
/// axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1, and the
/// output has it. A label image whose labels count plane by plane is turned in `XY` only.
/// **Output** `outputImage`: the input's type and interpretations. It shares no samples with the input.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, spacings that are none,
/// an
///         unknown plane, labels that turning would join, and an output that shares samples with the input;
///         ResizeImageError or MemoryError when there is no memory.
/// Cost: near that of a copy.
class RIX_EXPORT Rotate90 : public BaseAlgorithm {
    RIX_ALGORITHM(Rotate90)

    /// The plane of the turn, whose first axis goes to the second.
    enum Plane : int { XY = 0, XZ, YZ };
    static const EnumInfo& getInfoPlane();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Any number, also a negative one; four are none. Default 1.
    RIX_INPUT(std::int32_t, QuarterTurns, quarterTurns)
    /// Default `XY`.
    RIX_CHOICE(Plane, Plane, plane, getInfoPlane)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
