#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/segmentation/LocalThresholdingChoices.h>

namespace rix::segmentation {

/// Compares every voxel with a threshold of its own, which follows from the box around it.
///
/// The three-dimensional form of `LocalThresholding2d`, with which it shares formulas, types, border, exactness and
/// failures. Frames and channels are volumes of their own.
class RIX_EXPORT LocalThresholding3d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalThresholding3d)

    using Method = LocalThresholdingMethod;
    using enum LocalThresholdingMethod;
    using Side = ThresholdingSide;
    using enum ThresholdingSide;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default `MEAN`.
    RIX_CHOICE(Method, Method, method, getInfoLocalThresholdingMethod)
    /// In voxels; default 15.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// In voxels; default 15.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// In voxels; default 15.
    RIX_INPUT(std::int32_t, KernelSizeZ, kernelSizeZ)
    /// Of the deviation, for `NIBLACK`, `SAUVOLA` and `PHANSALKAR`; default 0.2.
    RIX_INPUT(double, Weight, weight)
    /// In the image's grey levels; default 0.
    RIX_INPUT(double, Offset, offset)
    /// Of `BERNSEN`, in the image's grey levels; default 15.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `BRIGHT`.
    RIX_CHOICE(Side, Side, side, getInfoThresholdingSide)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::segmentation
