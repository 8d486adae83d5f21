#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::point_operations {

/// Converts an image to another voxel type, to a binary or to a label image.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements of every voxel type. A binary image counts as
/// 0 and 1, whatever it holds beside 0.
/// **Output** `outputImage`: takes extents, calibration and colour interpretation of the input. The numeric types give
/// interpretation value; `BINARY` gives a binary `uint8` image; `LABEL_...` gives a label image of the unsigned type of
/// that width. It may be the input when the voxel type stays the same.
///
/// - Integers to integers keep the low bits. Reals to integers are truncated toward zero to a signed 32-bit integer
///   (64-bit for `uint32`), whose low bits are kept: 300.7 becomes 44 in `uint8`, -1.5 becomes 255. What that integer
///   can't hold, NaN and infinities included, counts as its most negative value, on every level of optimisation.
/// - Integers to reals are exact or rounded by the format. Complex to real keeps the real part; real to complex sets
///   the imaginary part to 0.
/// - `BINARY` is 1 where the voxel differs from 0, a complex one in either part; NaN differs.
///
/// @throws RuleException from `run` for an unset or empty image, vector elements, an unknown output type and an output
///         that is the input although the type changes.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT ConvertImage : public BaseAlgorithm {
    RIX_ALGORITHM(ConvertImage)

    enum OutputType : int {
        UNSIGNED_INTEGER_8_BIT = 0,
        SIGNED_INTEGER_8_BIT,
        UNSIGNED_INTEGER_16_BIT,
        SIGNED_INTEGER_16_BIT,
        UNSIGNED_INTEGER_32_BIT,
        SIGNED_INTEGER_32_BIT,
        FLOAT_32_BIT,
        FLOAT_64_BIT,
        COMPLEX_FLOAT_32_BIT,
        COMPLEX_FLOAT_64_BIT,
        BINARY,
        LABEL_8_BIT,
        LABEL_16_BIT,
        LABEL_32_BIT
    };
    static const EnumInfo& getInfoOutputType();

    /// The output type that gives images of a voxel type, as label images where that is asked for; -1 where there is
    /// none, as for labels of a signed or real type.
    static int getOutputTypeFromVoxelTypes(VoxelTypes type, bool isLabel);

    int getVersion() const override;
    BorderInfluence getBorderInfluence() const { return {}; }

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `UNSIGNED_INTEGER_8_BIT`.
    RIX_CHOICE(OutputType, OutputType, outputType, getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::point_operations
