#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Puts images one behind the other along an axis.
///
/// **Inputs** `inputImage1` and, as far as they are set, `inputImage2` to `inputImage4`: of one type and
/// interpretation, complex types as well, with the same extents on all other axes, scalar elements. Spacings of axes
/// with neighbours, before or after, are finite and not 0; if the spatial spacings of the first are all 0, they count
/// as 1, and the output has it.
/// **Output** `outputImage`: the type, interpretation and calibration of `inputImage1`, whose object stays where it is
/// in the world; the others follow it along the axis, wherever they were. So do pieces of one image, whose places are
/// those that they had. The colour interpretation is unknown where channels are put together. It shares no samples with
/// an input.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset first image, empty images, elements of several samples, spacings that
///         are none, images that differ, an unknown axis, and an output that shares samples with an input;
///         ResizeImageError or MemoryError when there is no memory.
/// Cost: that of a copy of all images.
class RIX_EXPORT ConcatenateImages : public BaseAlgorithm {
    RIX_ALGORITHM(ConcatenateImages)

    /// The axis along which images are put one behind the other.
    enum Axis : int { COLUMNS = 0, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES };
    static const EnumInfo& getInfoAxis();

    RIX_INPUT(const ImageModel*, InputImage1, inputImage1)
    /// Default: unset.
    RIX_INPUT(const ImageModel*, InputImage2, inputImage2)
    RIX_INPUT(const ImageModel*, InputImage3, inputImage3)
    RIX_INPUT(const ImageModel*, InputImage4, inputImage4)
    /// Default `COLUMNS`.
    RIX_CHOICE(Axis, Axis, axis, getInfoAxis)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
