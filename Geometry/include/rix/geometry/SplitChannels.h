#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Takes one channel out of an image; `MergeChannels` is the way back.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any type, complex ones as well. Spacings of
/// axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1, and the
/// output has it.
/// **Output** `outputImage`: one channel, with the input's type, interpretation and place in the world; the origin of
/// its spectral axis is that of the channel, its colour interpretation unknown where there were several. It shares no
/// samples with the input.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, spacings that are none, a
///         channel that the image does not have, and an output that shares samples with the input; ResizeImageError or
///         MemoryError when there is no memory.
/// Cost: that of a copy of the channel.
class RIX_EXPORT SplitChannels : public BaseAlgorithm {
    RIX_ALGORITHM(SplitChannels)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// The number of the channel, from 0 on; default 0.
    RIX_INPUT(std::int64_t, Channel, channel)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
