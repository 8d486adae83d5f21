#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/segmentation/LocalThresholdingChoices.h>

namespace rix::segmentation {

/// Compares every voxel v with a threshold T of its own, which follows from the rectangle around it in its plane:
/// `BRIGHT` is v > T - `offset`, `DARK` all the rest. With mean m and standard deviation s of the rectangle,
///
///     MEAN        T = m
///     MEDIAN      T = the median
///     GAUSSIAN    T = the image smoothed by a Gaussian whose deviation is a sixth of the way between the outermost
///                 voxels of the rectangle, (kx - 1) / 6 columns and (ky - 1) / 6 rows
///     NIBLACK     T = m - k s
///     SAUVOLA     T = m (1 + k (s / R - 1))
///     PHANSALKAR  T = m (1 + 2 exp(-10 m) + k (s / 0.5 - 1)), of values scaled so that the range goes from 0 to 1
///     BERNSEN     T = half the sum of the largest and the smallest value; where these differ by less than `contrast`
///                 all is bright if T is above the middle of the range, else all is dark, whatever v and the offset
///
/// with k = `weight`. The range is that of the type for integers, from 0 to 1 for binary images, and from the smallest
/// to the largest finite value of the whole image for reals (1 wide where these are equal); R is half of it (W.
/// Niblack, An introduction to digital image processing, 1986; J. Sauvola and M. Pietikainen, Adaptive document image
/// binarization, 2000; N. Phansalkar et al., Adaptive local thresholding for detection of nuclei in diversity stained
/// cytology images, 2011; J. Bernsen, Dynamic thresholding of grey-level images, 1986).
///
/// **Input** `inputGrayImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Input** `kernelSizeX`, `kernelSizeY`: odd, from 1 to 1023. What lies beyond the edges is mirrored, with the edge
/// voxel repeated.
/// **Output** `outputBinaryImage`: `uint8`, 1 on the kept side, 0 elsewhere; the input's extents and calibration. Not
/// the input.
///
/// Means, deviations, medians and Gaussians are those of `LocalStatistics2d`, `MedianFilter2d` and `GaussianFilter2d`,
/// in `float32` (medians in the input's type, all of `float64` in `float64`); thresholds follow in double precision. So
/// a voxel may be on the wrong side where it differs from its threshold by a few units in the last place of `float32`.
/// What is NaN, or has NaN as its threshold, is dark. The same bits on every level, for every number of threads and
/// every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a kernel size that is even
///         or out of range, a number that is not finite, a negative contrast, and an unknown choice; ResizeImageError
///         or MemoryError when there is no memory.
/// Cost: a constant number of steps a voxel for every window, but for medians. Memory: an image of what the threshold
/// follows from, two of `NIBLACK`, `SAUVOLA`, `PHANSALKAR` and `BERNSEN`, and what the filters take; see `describe`.
class RIX_EXPORT LocalThresholding2d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalThresholding2d)

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
