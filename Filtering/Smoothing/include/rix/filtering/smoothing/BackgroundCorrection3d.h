#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Takes an uneven background out of each volume.
///
/// The three-dimensional form of `BackgroundCorrection2d`, with which it shares formulas, types, exactness and
/// failures: d are the offsets of a ball of three axes, the radius is at most 50 voxels, and m is the mean over the
/// volume. Frames and channels are volumes of their own.
class RIX_EXPORT BackgroundCorrection3d : public BaseAlgorithm {
    RIX_ALGORITHM(BackgroundCorrection3d)

    /// How the background is found and taken out.
    enum Method : int { ROLLING_BALL = 0, FLAT_FIELD };
    static const EnumInfo& getInfoMethod();
    /// Whether the background is darker than what lies before it.
    enum Background : int { DARK = 0, BRIGHT };
    static const EnumInfo& getInfoBackground();
    /// In what the radius is given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `ROLLING_BALL`.
    RIX_CHOICE(Method, Method, method, getInfoMethod)
    /// Default `DARK`.
    RIX_CHOICE(Background, Background, background, getInfoBackground)
    /// Of the ball, or the standard deviation of the Gaussian; default 50.
    RIX_INPUT(double, Radius, radius)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Of the ball, in grey values; default 0: as many as the radius.
    RIX_INPUT(double, Height, height)
    /// Optional: the flat field.
    RIX_INPUT(const ImageModel*, InputBackgroundImage, inputBackgroundImage)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
    /// Optional: the background that was found.
    RIX_OUTPUT(ImageModel*, OutputBackgroundImage, outputBackgroundImage)
};

}  // namespace rix::filtering::smoothing
