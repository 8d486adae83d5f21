#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Finds what is bright, and what is less bright if it is connected with it, in each plane:
///
///     out(p) = 1 where a chain of neighbours leads from a voxel q with in(q) >= upper to p on which in >= lower
///
/// So noise above the lower threshold alone is left out, and objects that fall below the upper one here and there stay
/// whole (J. Canny, A computational approach to edge detection, IEEE Transactions on Pattern Analysis and Machine
/// Intelligence 8, 1986).
///
/// **Input** `inputGrayImage`: scalar elements, any real type (`uint8` to `float64`), any extents on all five axes; NaN
/// reaches no threshold. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputBinaryImage`: `uint8`, binary, of the extents and the calibration of the input. It shares no
/// memory with the input.
///
/// Thresholds are compared with the values exactly. The same bits on every level, for every number of threads and every
/// storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a threshold that is not
/// finite, a lower
///         one that exceeds the upper one, an unknown choice, and an output in the memory of the input; MemoryError
///         when there is no memory.
/// Cost: that of `ReconstructionByDilation2d` of binary images. Memory: 2 bytes a voxel and its; see `describe`.
class RIX_EXPORT HysteresisThresholding2d : public BaseAlgorithm {
    RIX_ALGORITHM(HysteresisThresholding2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default 85.
    RIX_INPUT(double, LowerThreshold, lowerThreshold)
    /// Default 170.
    RIX_INPUT(double, UpperThreshold, upperThreshold)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::segmentation
