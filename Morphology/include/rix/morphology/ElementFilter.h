#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix {
class EnumInfo;
}

namespace rix::morphology {

/// Structuring elements of planes.
enum class StructuringElement2DType : int {
    RECTANGLE = 0,  ///< of the kernel sizes; of an even one more lies before the origin than after it
    DISK,           ///< all offsets of a length up to the radius
    DIAMOND,        ///< all offsets of a city-block length up to the radius
    LINE,           ///< from the origin to an offset
    IMAGE           ///< what is not 0 in an image, with the origin at half of each extent
};
RIX_EXPORT const EnumInfo& getInfoStructuringElement2DType();

/// Structuring elements of volumes, as those of planes.
enum class StructuringElement3DType : int { BOX = 0, BALL, OCTAHEDRON, LINE, IMAGE };
RIX_EXPORT const EnumInfo& getInfoStructuringElement3DType();

/// What lies beyond the edges of an image: nothing that would take part, or what other filters find there.
enum class ElementBorderPolicy : int { NEUTRAL = 0, MIRROR, CONTINUE, FIXED };
RIX_EXPORT const EnumInfo& getInfoElementBorderPolicy();

/// The structuring element of an operation on planes.
///
/// A voxel b of the element is an offset from its origin. Lengths compare with a relative tolerance of 1e-12, so that 3
/// voxels of 0.1 are within 0.3. A line has max(|dx|, |dy|) + 1 voxels, each the nearest to the straight line, halves
/// towards the origin.
///
/// @throws RuleException from `run` for a kernel size outside [1, 10001], a radius that is negative, not finite or of
///         more than 1000 voxels, an offset beyond 10000 voxels, an unknown choice, an element image that is unset,
///         complex or has no voxel but 0, more than one plane (in a volume: frame or channel) or an extent above 10001,
///         and for `WORLD` an image whose spacing is 0 or not finite. Only what the chosen element needs is checked.
class RIX_EXPORT ElementOwner2d : public BaseAlgorithm {
public:
    using StructuringElement = StructuringElement2DType;
    using enum StructuringElement2DType;
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    ~ElementOwner2d() override;

    /// Default `RECTANGLE`.
    RIX_CHOICE(StructuringElement, StructuringElement, structuringElement, getInfoStructuringElement2DType)
    /// Columns of `RECTANGLE`; default 3.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// Rows of `RECTANGLE`; default 3.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// Of `DISK` and `DIAMOND`; default 1.
    RIX_INPUT(double, Radius, radius)
    /// In what the radius is given; default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Columns from the origin to the far end of `LINE`; default 0.
    RIX_INPUT(std::int32_t, LineX, lineX)
    /// Rows from there; default 0.
    RIX_INPUT(std::int32_t, LineY, lineY)
    /// Of `IMAGE`; null (the default) for the others.
    RIX_INPUT(const ImageModel*, InputElementImage, inputElementImage)

protected:
    explicit ElementOwner2d(algorithms::AbstractPrivateImplementation* implementation);
};

/// The structuring element of an operation on volumes: see `ElementOwner2d`.
class RIX_EXPORT ElementOwner3d : public BaseAlgorithm {
public:
    using StructuringElement = StructuringElement3DType;
    using enum StructuringElement3DType;
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    ~ElementOwner3d() override;

    /// Default `BOX`.
    RIX_CHOICE(StructuringElement, StructuringElement, structuringElement, getInfoStructuringElement3DType)
    /// Columns of `BOX`; default 3.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// Rows of `BOX`; default 3.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// Planes of `BOX`; default 3.
    RIX_INPUT(std::int32_t, KernelSizeZ, kernelSizeZ)
    /// Of `BALL` and `OCTAHEDRON`; default 1.
    RIX_INPUT(double, Radius, radius)
    /// In what the radius is given; default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Columns from the origin to the far end of `LINE`; default 0.
    RIX_INPUT(std::int32_t, LineX, lineX)
    /// Rows from there; default 0.
    RIX_INPUT(std::int32_t, LineY, lineY)
    /// Planes from there; default 0.
    RIX_INPUT(std::int32_t, LineZ, lineZ)
    /// Of `IMAGE`; null (the default) for the others.
    RIX_INPUT(const ImageModel*, InputElementImage, inputElementImage)

protected:
    explicit ElementOwner3d(algorithms::AbstractPrivateImplementation* implementation);
};

/// What the flat operations have in common: they take minima and maxima over a structuring element B,
///
///     erosion(f)(x) = min { f(x + b), b in B },   dilation(f)(x) = max { f(x - b), b in B }
///
/// so that dilation after erosion never exceeds the image, and both are duals.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), or
/// binary.
/// **Output** `outputImage`: takes the input's extents, type, calibration and interpretation. It may be the input
/// image; the run then needs a temporary image.
///
/// **Border.** Beyond the edges nothing takes part (`NEUTRAL`); or the image is mirrored with the edge voxel repeated
/// (`MIRROR`), goes on with the edge voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`). Operations that
/// erode and dilate have this for each of the two.
///
/// **Values.** Results are exact, in every type and on every level. -0 lies below +0. NaN takes no part; of NaN alone
/// the result is NaN. Where nothing takes part the result of a minimum is the type's largest value, of a maximum its
/// smallest, for reals an infinity, in a binary image 1 and 0.
///
/// Method: a box is taken axis after axis, each in log2(extent) + 1 minima (doubling); other elements as rows of
/// voxels, each from two minima of a power of two of voxels that were taken once for all (Urbach and Wilkinson,
/// Efficient 2-D grayscale morphological transformations with arbitrary flat structuring elements, IEEE Transactions
/// on Image Processing 17(1), 2008), in blocks that stay in the cache.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an unknown choice, a
///         `borderValue` of NaN, and what the element is refused for; ResizeImageError or MemoryError when there is no
///         memory.
class RIX_EXPORT ElementFilter2d : public ElementOwner2d {
public:
    /// What lies beyond the edges.
    using BorderPolicy = ElementBorderPolicy;
    using enum ElementBorderPolicy;

    ~ElementFilter2d() override;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `NEUTRAL`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, getInfoElementBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)

protected:
    explicit ElementFilter2d(algorithms::AbstractPrivateImplementation* implementation);
};

/// The flat operations on volumes: see `ElementFilter2d`.
class RIX_EXPORT ElementFilter3d : public ElementOwner3d {
public:
    using BorderPolicy = ElementBorderPolicy;
    using enum ElementBorderPolicy;

    ~ElementFilter3d() override;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `NEUTRAL`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, getInfoElementBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)

protected:
    explicit ElementFilter3d(algorithms::AbstractPrivateImplementation* implementation);
};

}  // namespace rix::morphology
