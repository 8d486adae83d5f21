#pragma once

#include <array>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/TransformChoices.h>

namespace rix::geometry {

/// Moves, turns, scales and shears what is in each volume, in the coordinates of the world.
///
/// **Transform.** A point p goes to p' = c + R S (p - c) + t: scaled along x, y and z (S), turned about x from y to z
/// by `angleX` degrees, then about y from z to x by `angleY`, then about z from x to y by `angleZ` (R = Rz Ry Rx),
/// about the centre c, then moved by the translation t. With `matrix` "a,b,c,tx;d,e,f,ty;g,h,i,tz" it goes to (a x + b
/// y + c z + tx, d x + e y + f z + ty, g x + h y + i z + tz), and the other properties count for nothing.
///
/// Labels that count plane by plane are refused. Everything else, and what is thrown, is as for `AffineTransform2d`.
/// Cost: an element, (degree + 1)^3 multiplications. Memory: half a megabyte a thread, and for splines an image of
/// coefficients; see `describe`.
class RIX_EXPORT AffineTransform3d : public BaseAlgorithm {
    RIX_ALGORITHM(AffineTransform3d)

    /// What the transform tells.
    using Direction = TransformDirection;
    using enum TransformDirection;
    /// What stays where it is.
    using Center = TransformCenter;
    using enum TransformCenter;
    /// The elements of the output.
    using Grid = TransformGrid;
    using enum TransformGrid;
    /// How samples are found.
    using Interpolation = PlaceInterpolation;
    using enum PlaceInterpolation;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// "a,b,c,tx;d,e,f,ty;g,h,i,tz"; default empty, for the properties below.
    RIX_INPUT(String, Matrix, matrix)
    /// The same by its rows.
    void setMatrix(const std::array<double, 12>& rows);
    /// Default `FORWARD`.
    RIX_CHOICE(Direction, Direction, direction, getInfoTransformDirection)
    /// In the unit of the spacings; default 0.
    RIX_INPUT(double, TranslationX, translationX)
    RIX_INPUT(double, TranslationY, translationY)
    RIX_INPUT(double, TranslationZ, translationZ)
    /// In degrees, from y to z, z to x and x to y; default 0.
    RIX_INPUT(double, AngleX, angleX)
    RIX_INPUT(double, AngleY, angleY)
    RIX_INPUT(double, AngleZ, angleZ)
    /// Not 0; default 1.
    RIX_INPUT(double, ScaleX, scaleX)
    RIX_INPUT(double, ScaleY, scaleY)
    RIX_INPUT(double, ScaleZ, scaleZ)
    /// Default `IMAGE`.
    RIX_CHOICE(Center, Center, center, getInfoTransformCenter)
    /// Default `INPUT`.
    RIX_CHOICE(Grid, Grid, grid, getInfoTransformGrid)
    /// Of `REFERENCE`; default: unset.
    RIX_INPUT(const ImageModel*, InputReferenceImage, inputReferenceImage)
    /// Default `AUTOMATIC`.
    RIX_CHOICE(Interpolation, Interpolation, interpolation, getInfoPlaceInterpolation)
    /// Default `FIXED`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
