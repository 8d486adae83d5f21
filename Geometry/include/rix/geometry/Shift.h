#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Shifts an image cyclically: out[i + offset] = in[i], and what leaves the image at one end comes in at the other. A
/// positive offset moves towards greater indices.
///
/// The object stays where it is in the world: the origin moves against the offset, of which whole extents count for
/// nothing. What comes in at the other end lies where the image was not before.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any type, complex ones as well. Spacings of
/// axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1, and the
/// output has it.
/// **Output** `outputImage`: the input's type, interpretations and calibration, but for the origin. It shares no
/// samples with the input.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, spacings that are none,
///         and an output that shares samples with the input; ResizeImageError or MemoryError when there is no memory.
/// Cost: that of a copy.
class RIX_EXPORT Shift : public BaseAlgorithm {
    RIX_ALGORITHM(Shift)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Any number of elements; default 0.
    RIX_INPUT(std::int64_t, OffsetX, offsetX)
    RIX_INPUT(std::int64_t, OffsetY, offsetY)
    RIX_INPUT(std::int64_t, OffsetZ, offsetZ)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
