#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Takes out what is bright and of a small area in each plane, whatever its shape, and leaves the rest as it is.
///
/// A voxel p gets the highest level at which it lies in a connected set of enough voxels (L. Vincent, Grayscale area
/// openings and closings, 1993):
///
///     J(p) = max { t : p lies in a connected set of voxels with I >= t, of a size of at least `minimumSize` }.
///
/// Where even all that is connected with p is too small, its lowest value stays; in a binary image nothing stays of an
/// object that is too small. The result never exceeds the image, and taking it again changes nothing.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), or
/// binary. Every plane, for every sequence and spectral index, by itself.
/// **Input** `minimumSize`: at least 0; up to one voxel nothing changes.
/// **Choice** `lengthUnit`: `VOXEL` for a number of voxels, `WORLD` for an area in the image's unit, of which a voxel
/// has the product of its spacings.
/// **Output** `outputImage`: takes the input's extents, type, calibration and interpretation. It may be the input
/// image; the run then needs a copy of it.
///
/// Exact for every type. NaN is a wall that stays NaN. -0 lies below +0.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an unknown neighbourhood, a
///         size that is negative or not finite, and with `WORLD` a spacing that is 0 or not finite; MemoryError when
///         there is no memory.
/// Method: the voxels are sorted and joined to trees from the brightest down (M. H. F. Wilkinson and J. B. T. M.
/// Roerdink, Fast morphological attribute operations using Tarjan's union-find algorithm, 2000).
/// Cost: 50 to 200 ns a voxel, nearly whatever the size; planes on threads, a single one on one. Memory for each plane
/// at work: its voxels, and 8 bytes a voxel, 12 for types of more than 16 bits.
class RIX_EXPORT AreaOpening2d : public BaseAlgorithm {
    RIX_ALGORITHM(AreaOpening2d)

    /// In what `minimumSize` is given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 64.
    RIX_INPUT(double, MinimumSize, minimumSize)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
