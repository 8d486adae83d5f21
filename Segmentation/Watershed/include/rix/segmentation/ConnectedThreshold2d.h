#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Finds the voxels of a range of grey values that are connected, through voxels of this range, with a marker, in each
/// plane:
///
///     out(p) = 1 where a chain of neighbours leads from a marker q to p on which lower <= in <= upper, q and p
///     included
///
/// **Input** `inputGrayImage`: scalar elements, any real type (`uint8` to `float64`); NaN lies in no range.
/// `inputMarkerImage`: what is not 0 is a marker; NaN is none. Any real type, of the same extents on all five axes.
/// Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputBinaryImage`: `uint8`, binary, of the extents and the calibration of the grey image. It shares no
/// memory with the inputs.
///
/// Thresholds are compared with the values exactly. Where the lower one exceeds the upper one nothing is found. The
/// same bits on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, images of different
///         extents, a threshold that is not finite, an unknown choice, and an output in the memory of an input;
///         MemoryError when there is no memory.
/// Cost: that of `ReconstructionByDilation2d` of binary images. Memory: 2 bytes a voxel and its; see `describe`.
class RIX_EXPORT ConnectedThreshold2d : public BaseAlgorithm {
    RIX_ALGORITHM(ConnectedThreshold2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    /// Default 0.
    RIX_INPUT(double, LowerThreshold, lowerThreshold)
    /// Default 255.
    RIX_INPUT(double, UpperThreshold, upperThreshold)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::segmentation
