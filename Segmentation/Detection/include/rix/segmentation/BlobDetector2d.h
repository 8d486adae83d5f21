#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/PeaksMsr.h>

namespace rix::segmentation {

/// Finds bright blobs of each plane with their sizes: maxima, over places and scales, of the Laplacian of a Gaussian,
///
///     R(p, s) = -s^2 LoG_s(p),     s from `minimumScale` to `maximumScale` in equal ratios
///
/// (T. Lindeberg, "Feature detection with automatic scale selection", 1998). A blob is a voxel and a scale with R above
/// `threshold` and above that of all 26 neighbours in place and scale, 80 in volumes; of equal ones the first in the
/// order of scales, then of storage. A Gaussian blob of standard deviation s and height h has R = h / 2 at the scale s
/// in planes, about 0.56 h at 1.22 s in volumes; a disc or ball of radius r has its maximum at the scale r divided by
/// the root of the number of axes. Position and scale are the tops of parabolas, through neighbours along each axis and
/// in the logarithm of the scale. For dark blobs the image is inverted before.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), or
/// binary. Every plane, for every sequence and spectral index, by itself.
/// **Output** `outputMeasurement`: a row for each blob, scale after scale, of one in storage order. `Value` is R at the
/// voxel; `Scale` and `Radius` (scale times the root of the number of axes) are in voxels or in the image's unit, as
/// `lengthUnit` says. Blobs may overlap, or lie in each other.
///
/// Beyond its edges the image is mirrored. Voxels beside the edge, and the first and last scale, have fewer neighbours:
/// blobs that are smaller or larger than the scales are found at their ends. The same values on every level, for every
/// number of threads and every storage. NaN is no blob, nor is what it reaches.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a threshold of NaN, scales
///         that are not positive, above 100 voxels or in the wrong order, a number of scales beyond 1 to 100, and for
///         `WORLD` a spacing of 0 or not finite; MemoryError when there is no memory.
/// Cost: a `LaplacianOfGaussian2d` and a pass for each scale. Memory: three images of `float32` (`float64` for inputs
/// of it), and that of the filter.
class RIX_EXPORT BlobDetector2d : public BaseAlgorithm {
    RIX_ALGORITHM(BlobDetector2d)

    /// In what scales are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 10.
    RIX_INPUT(double, Threshold, threshold)
    /// Default 1.
    RIX_INPUT(double, MinimumScale, minimumScale)
    /// Default 10.
    RIX_INPUT(double, MaximumScale, maximumScale)
    /// Default 10.
    RIX_INPUT(std::int32_t, NumberOfScales, numberOfScales)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Unless one was set, null before the first run.
    RIX_RESULT(PeaksMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::segmentation
