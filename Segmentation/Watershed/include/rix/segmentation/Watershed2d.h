#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/WatershedLinesType.h>

namespace rix::segmentation {

/// Divides each plane of a grey image into the catchment basins of its minima.
///
/// The markers of a flood, as `MarkerBasedWatershed2d` tells, are the regional minima: plateaus that lie lower than all
/// around them. Left out are those of a depth of at most `minimumDepth`: the depth of a minimum is how far one has to
/// climb from it to get to a lower one. They are filled before (see `HMinima2d`), so that equal ones with no more
/// between them become one. Where a connected part of the image would have no minimum it is one basin; so is a constant
/// image. Basins are numbered 1, 2, 3, ... in the raster order of the first voxels of their minima.
///
/// Basins of less than `minimumArea` voxels, those on lines not counted, lose their minima, all of them at once, and
/// the flood is repeated, until there is none. The others are numbered anew. So nothing but 0 is left where no basin is
/// large enough.
///
/// **Input** `inputGrayImage`: scalar elements, any real type (`uint8` to `float64`). NaN is a wall. `inputMaskImage`:
/// optional, any real type, of the same extents; where it is 0 or NaN is a wall. Every plane, for every sequence and
/// spectral index, by itself; less than 2^31 voxels each.
/// **Output** `outputLabelImage`: `uint32` labels with the extents and the calibration of the grey image; 0 in walls
/// and on lines. It shares no memory with the inputs.
///
/// The same bits on every level, for every number of threads and every storage. `minimumDepth` of an image of integers
/// is rounded down; that of a masked one counts in `float32`, or `float64` for types of 32 bits and more.
///
/// @throws RuleException from `run` for an unset, empty or too large image, a complex or vector image, images of
///         different extents, an unknown choice, a `minimumDepth` or `minimumArea` that is negative or not finite, and
///         an output in the memory of an input; MemoryError when there is no memory.
/// Cost: that of the minima (see `RegionalMinima2d`, `ExtendedMinima2d`) and of a flood for every repetition.
class RIX_EXPORT Watershed2d : public BaseAlgorithm {
    RIX_ALGORITHM(Watershed2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;
    /// What lies between basins.
    using WatershedLinesType = segmentation::WatershedLinesType;
    using enum segmentation::WatershedLinesType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Optional.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// In grey values; default 0.
    RIX_INPUT(double, MinimumDepth, minimumDepth)
    /// In voxels; default 0.
    RIX_INPUT(double, MinimumArea, minimumArea)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    /// Default `NONE`.
    RIX_CHOICE(WatershedLinesType, WatershedLines, watershedLines, getInfoWatershedLinesType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
