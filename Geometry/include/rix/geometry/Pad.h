#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Puts elements around an image: out[i] = in[i - before], and beyond the image what the border policy says.
///
/// The object stays where it is in the world: the origin moves by what is put before the first elements.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any type, complex ones as well. Spacings of
/// axes with neighbours, before or after, are finite and not 0; an image whose spatial spacings are all 0 counts as
/// spacing 1, and the output has it.
/// **Output** `outputImage`: the input's type, interpretations and calibration, but for the origin. It shares no
/// samples with the input.
///
/// `MIRROR` repeats the element at the edge and goes on back and forth however wide the margin is, `CONTINUE` repeats
/// that element, `FIXED` puts `borderValue`, converted to the image's type as samples are (toward zero, low bits kept),
/// in binary images to 0 or 1. In a corner the policy holds on each axis.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, spacings that are none, a
///         negative margin, an image larger than memory (or than the setting RIX_MAXIMUM_IMAGE_SIZE allows), an unknown
///         policy, a border value of NaN, and an output that shares samples with the input; ResizeImageError or
///         MemoryError when there is no memory.
/// Cost: that of writing the output.
class RIX_EXPORT Pad : public BaseAlgorithm {
    RIX_ALGORITHM(Pad)

    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// How many elements come before the first and after the last of each axis; default 0.
    RIX_INPUT(std::int64_t, BeforeColumns, beforeColumns)
    RIX_INPUT(std::int64_t, BeforeRows, beforeRows)
    RIX_INPUT(std::int64_t, BeforePlanes, beforePlanes)
    RIX_INPUT(std::int64_t, AfterColumns, afterColumns)
    RIX_INPUT(std::int64_t, AfterRows, afterRows)
    RIX_INPUT(std::int64_t, AfterPlanes, afterPlanes)
    /// Default `FIXED`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
