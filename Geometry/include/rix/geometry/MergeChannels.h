#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Puts images together as the channels of one: all channels of the first, then those of the second, and so on.
///
/// **Inputs** `inputImage1` and, as far as they are set, `inputImage2` to `inputImage4`: of one type and
/// interpretation, complex types as well, with the same extents but for their channels, scalar elements. Spacings of
/// axes with neighbours in the first are finite and not 0; if its spatial spacings are all 0, they count as 1, and the
/// output has it.
/// **Output** `outputImage`: the type, interpretation and place in the world of `inputImage1`; where others lie is not
/// looked at. The colour interpretation is unknown where images are put together. It shares no samples with an input.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset first image, empty images, elements of several samples, spacings that
///         are none, images that differ, and an output that shares samples with an input; ResizeImageError or
///         MemoryError when there is no memory.
/// Cost: that of a copy of all images.
class RIX_EXPORT MergeChannels : public BaseAlgorithm {
    RIX_ALGORITHM(MergeChannels)

    RIX_INPUT(const ImageModel*, InputImage1, inputImage1)
    /// Default: unset.
    RIX_INPUT(const ImageModel*, InputImage2, inputImage2)
    RIX_INPUT(const ImageModel*, InputImage3, inputImage3)
    RIX_INPUT(const ImageModel*, InputImage4, inputImage4)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
