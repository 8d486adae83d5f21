#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Cuts a box out of an image, on all five axes: out[i] = in[first + i].
///
/// The object stays where it is in the world: the origin is that of the box's first element, on the sequence and
/// spectral axes as well.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any type, complex ones as well. Spacings of
/// axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1, and the
/// output has it.
/// **Output** `outputImage`: the input's type, interpretation and calibration, but for the origin; the colour
/// interpretation when all channels are kept. It shares no samples with the input.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, spacings that are none, a
///         box that does not lie in the image, and an output that shares samples with the input; ResizeImageError or
///         MemoryError when there is no memory.
/// Cost: that of a copy of the box.
class RIX_EXPORT Crop : public BaseAlgorithm {
    RIX_ALGORITHM(Crop)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// The first element of the box; default 0 on every axis.
    RIX_INPUT(std::int64_t, FirstColumn, firstColumn)
    RIX_INPUT(std::int64_t, FirstRow, firstRow)
    RIX_INPUT(std::int64_t, FirstPlane, firstPlane)
    RIX_INPUT(std::int64_t, FirstFrame, firstFrame)
    RIX_INPUT(std::int64_t, FirstChannel, firstChannel)
    /// The extents of the box; default 0, which is all from the first element on.
    RIX_INPUT(std::int64_t, Columns, columns)
    RIX_INPUT(std::int64_t, Rows, rows)
    RIX_INPUT(std::int64_t, Planes, planes)
    RIX_INPUT(std::int64_t, Frames, frames)
    RIX_INPUT(std::int64_t, Channels, channels)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
