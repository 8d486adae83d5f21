#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/WatershedLinesType.h>

namespace rix::segmentation {

/// Floods a grey image from labelled markers: each voxel gets the label of the marker whose flood reaches it first,
/// when all floods rise together, in each plane.
///
/// The flood is that of a hierarchical queue (F. Meyer, Topographic distance and watershed lines, Signal Processing 38,
/// 1994). The voxels of markers wait in it, in raster order, at the level of their own values. Again and again the
/// voxel of the lowest level is taken, of several the one that has waited longest there; all its neighbours without a
/// label take its label, and wait at the larger of its level and their own values. So the result follows from the image
/// and the markers alone; the order of neighbours changes nothing.
///
/// With `LINES` a voxel that is no marker is decided when it is taken: it takes the label of its labelled neighbours if
/// they agree; if not, it belongs to a line, becomes 0, and nothing is reached from it.
///
/// **Input** `inputGrayImage`: scalar elements, any real type (`uint8` to `float64`). NaN is a wall. -0 lies below +0.
/// `inputMarkerImage`: integers; what is not 0 is a marker of that label, which may have many parts. Markers in walls
/// don't count. `inputMaskImage`: optional, any real type; where it is 0 or NaN is a wall. All of the same extents on
/// all five axes. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputLabelImage`: the labels, in the markers' type, with the extents and the calibration of the grey
/// image; 0 in walls, on lines, and where no flood comes. It shares no memory with the inputs.
///
/// The same bits on every level, for every number of threads and every storage. Several threads take what waits at one
/// level together where that is much, as in images of 8 bits; it is settled among them who would have come first. Lines
/// are found by one thread.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, markers that are no
///         integers, images of different extents, an unknown choice, and an output in the memory of an input;
///         MemoryError when there is no memory.
/// Cost: each voxel waits once; values of more than 16 bits are sorted before. Memory: 10 bytes a voxel of a plane for
/// 8 bits, 12 for 16 bits, 16 for 32 bits and 20 for 64 bits; of 8 bits some megabytes more
/// where threads share the work; see `describe`.
class RIX_EXPORT MarkerBasedWatershed2d : public BaseAlgorithm {
    RIX_ALGORITHM(MarkerBasedWatershed2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;
    /// What lies between basins.
    using WatershedLinesType = segmentation::WatershedLinesType;
    using enum segmentation::WatershedLinesType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    /// Optional.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    /// Default `NONE`.
    RIX_CHOICE(WatershedLinesType, WatershedLines, watershedLines, getInfoWatershedLinesType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
