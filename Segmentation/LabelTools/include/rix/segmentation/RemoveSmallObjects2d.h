#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Takes out the objects of each plane that are smaller than a least size; the others stay as they are.
///
/// Objects of a binary image are its connected sets. Those of any other image are its labels: all voxels of a plane
/// with one value that is not 0, connected or not. An object of exactly the least size stays; 0 takes out nothing.
///
/// **Input** `inputImage`: binary, or labels: scalar elements, integers (`uint8` to `int32`), any extents on all five
/// axes. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputImage`: the input's type, extents, interpretation and calibration; it may be the input image.
///
/// The same bits on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, reals, a complex or vector image, a size that is
///         negative or not finite, for `WORLD` a spacing of 0 or not finite, an unknown choice, and an output that
///         shares a part of its memory with the input; MemoryError when there is no memory.
/// Cost: of binary images that of numbering them; else two passes and a few nanoseconds for each run of a label.
/// Memory: of binary images that of numbering them and 4 bytes a run; else 20 to 50 bytes for each label of a plane.
class RIX_EXPORT RemoveSmallObjects2d : public BaseAlgorithm {
    RIX_ALGORITHM(RemoveSmallObjects2d)

    /// In what sizes are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels of a binary image touch.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels, or as an area in the image's unit; default 64.
    RIX_INPUT(double, MinimumSize, minimumSize)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::segmentation
