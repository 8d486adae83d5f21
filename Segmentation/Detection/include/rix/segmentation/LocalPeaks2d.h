#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/PeaksMsr.h>

namespace rix::segmentation {

/// Finds the peaks of each plane: regional maxima above a threshold, no two of them closer than a distance.
///
/// A regional maximum is a voxel, or a plateau of connected voxels of one value, whose other neighbours (8 of a voxel)
/// all lie lower. Its position is between the voxels: the mean of a plateau's, and of a single voxel the top of the
/// parabola through it and its two neighbours, along each axis (at an edge, and beside NaN, the voxel's own place). Of
/// the maxima above `threshold` the highest is taken first; one that lies nearer to a taken one than `minimumDistance`
/// is left out. Equal ones are taken in storage order.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), or
/// binary. Every plane, for every sequence and spectral index, by itself. NaN is no peak; an image of one value has
/// none.
/// **Output** `outputMeasurement`: a row for each peak: channel after channel, frame after frame, plane after plane, in
/// each from the highest down. `Value` is that of the voxel.
///
/// The same values on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a threshold of NaN, a
///         distance that is negative, not finite or above 2^31 voxels, and for `WORLD` a spacing of 0 or not finite;
///         MemoryError when there is no memory.
/// Cost: that of finding the maxima, a pass, and some microseconds for each ten of them. Memory: a byte a voxel, and
/// up to 150 bytes for each run of voxels of a maximum.
class RIX_EXPORT LocalPeaks2d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalPeaks2d)

    /// In what distances are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0.
    RIX_INPUT(double, Threshold, threshold)
    /// Default 1; 0 leaves none out.
    RIX_INPUT(double, MinimumDistance, minimumDistance)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Unless one was set, null before the first run.
    RIX_RESULT(PeaksMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::segmentation
