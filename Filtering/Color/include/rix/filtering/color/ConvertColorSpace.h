#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix {
class EnumInfo;
}

namespace rix::filtering::color {

/// Tells the colours of an image in another colour space; to `GRAY` it makes a grey image of a colour image.
///
/// **Input** `inputImage`: scalar elements of any real type, any extents, and along the spectral axis as many channels
/// as the space has: three, of `GRAY` one. One channel more is opacity; it is kept. Integers count as shares of the
/// largest value of their type (a binary image: of 1). Colour interpretation RGB goes with `RGB` and `LINEAR_RGB`, HSL
/// and YIQ with theirs; an image of unknown interpretation is what `fromSpace` says, any other is refused.
/// **Choice** `fromSpace`, `toSpace`: the space of the input and of the result.
/// **Choice** `outputType`: `REAL` gives `float32`, of `float64` images `float64`, in the units below; the others give
/// that type, and integers are encoded.
/// **Output** `outputImage`: takes the input's extents but for the channels, and its calibration; interpretation value,
/// colour interpretation RGB, HSL or YIQ for these spaces, else unknown. It may be the input image when neither type
/// nor channels change.
///
/// | space | channels in real units | 8 bits |
/// |---|---|---|
/// | `RGB` | red, green and blue of sRGB (IEC 61966-2-1), 0 to 1 | 255 R, 255 G, 255 B |
/// | `LINEAR_RGB` | the same as shares of light, before sRGB's transfer curve, 0 to 1 | 255 R, 255 G, 255 B |
/// | `HSV`, `HSL` | hue in degrees from 0 to less than 360 (0 for greys), saturation and value or lightness, 0 to 1 |
/// H / 2 (0 to 179), 255 S, 255 V |
/// | `XYZ` | CIE 1931; white (D65) is 0.95047, 1, 1.08883 | 255 X, 255 Y, 255 Z, cut off at 255 |
/// | `LAB` | CIE 1976 L* from 0 to 100, a*, b*, beside D65 | 255 L / 100, a + 128, b + 128 |
/// | `LCH` | L*, chroma, hue in degrees | 255 L / 100, C, H / 2 |
/// | `YCBCR` | ITU-R BT.601 luma from 0 to 1, Cb and Cr from -0.5 to 0.5, full range as JPEG has it | 255 Y, 255 Cb +
/// 128, 255 Cr + 128 |
/// | `YIQ` | that luma, I (up to 0.596) and Q (up to 0.523) of NTSC | 255 Y, 127.5 I + 128, 127.5 Q + 128 |
/// | `GRAY` | that luma: 0.299 R + 0.587 G + 0.114 B of the sRGB values, as in `YCBCR` and `YIQ` | 255 Y |
///
/// Wider integers have their largest value M in the place of 255, (M + 1) / 2 in that of 128 beside `YCBCR` and `YIQ`,
/// M (a + 128) / 255 for a and b, M C / 255 and M H / 360. Encoded values are rounded to nearest, ties to even, and
/// clamped. The luminance of a colour is Y of `XYZ`.
///
/// Colours go from space to space along `RGB` - `LINEAR_RGB` - `XYZ` - `LAB` - `LCH`; the other spaces follow from
/// `RGB`. Reals are not clamped: a colour outside sRGB has values below 0 or above 1 there, whose transfer curve is
/// continued oddly below 0. Hue, saturation and lightness are meant for 0 to 1. NaN stays in what is computed of it.
///
/// Errors against the formulas, inside sRGB: in `float32` 2e-6 of 0 to 1, 1e-3 degrees of hue (where saturation is 1 %
/// or chroma is 1 at least) and 2e-4 of L*, a*, b* and C; in `float64` a millionth of that. From RGB to any space but
/// `GRAY` and back changes `float32` by at most 1e-5, so that 8 bits come back as they were. The same bits on every
/// level and with every number of threads.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a number of channels that
///         the space has not, a colour interpretation of another space, an iteration over channels, and an output that
///         is the input although type or channels change.
/// Cost: one pass; some nanoseconds a pixel, from and to `LCH` some ten.
class RIX_EXPORT ConvertColorSpace : public BaseAlgorithm {
    RIX_ALGORITHM(ConvertColorSpace)

    enum ColorSpace : int { RGB = 0, LINEAR_RGB, HSV, HSL, XYZ, LAB, LCH, YCBCR, YIQ, GRAY };
    static const EnumInfo& getInfoColorSpace();

    enum OutputType : int { REAL = 0, SAME_AS_INPUT, UNSIGNED_INTEGER_8_BIT, UNSIGNED_INTEGER_16_BIT };
    static const EnumInfo& getInfoOutputType();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `RGB`.
    RIX_CHOICE(ColorSpace, FromSpace, fromSpace, getInfoColorSpace)
    /// Default `GRAY`.
    RIX_CHOICE(ColorSpace, ToSpace, toSpace, getInfoColorSpace)
    /// Default `REAL`.
    RIX_CHOICE(OutputType, OutputType, outputType, getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::color
