#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/segmentation/MultiLevelThresholdingMsr.h>

namespace rix::segmentation {

/// Divides the grey values of an image into k classes by the k - 1 thresholds of the largest between-class variance
/// (N. Otsu, A threshold selection method from gray-level histograms, 1979, for several thresholds),
///
///     sum over the classes of  n_c (m_c - m)^2
///
/// with the number n_c of voxels of a class, their mean m_c and the mean m of all. A voxel's label is the number of
/// thresholds that are not above its value.
///
/// **Input** `inputGrayImage`: any extents on all five axes, all of which are counted together; scalar elements, any
/// real type (`uint8` to `float64`).
/// **Input** `numberOfClasses`: from 2 to 256.
/// **Output** `outputLabelImage`: `uint8` of the input's extents and calibration, of labels from 0 on. Not the input.
/// **Output** `outputMeasurement`: the thresholds, ascending. When it is unset the algorithm makes one, which lives as
/// long as the algorithm. An image of fewer values than classes has fewer thresholds, one of a single value none.
///
/// Values are counted one by one where they are integers of which the largest is at most 255 above the smallest, else
/// in 256 classes of equal width between the extremes. Over these counts the thresholds are the best there are, found
/// by a dynamic programme in double precision (P.-S. Liao, T.-S. Chen, P.-C. Chung, A fast algorithm for multilevel
/// thresholding, 2001, for its sums); of equally good ones those are taken whose last threshold is the lowest, and so
/// on down. A threshold is the end of the last counted class below it: of integers one above the largest value of a
/// class that occurs. NaN and infinities are not counted; NaN gets the label 0, infinities the lowest and the highest
/// one.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, and a number of classes out
///         of range; ResizeImageError or MemoryError when there is no memory.
/// Cost: a pass to measure the range, one to count and one to compare; k 2^15 steps for the thresholds. Memory: a table
/// of counts a thread.
class RIX_EXPORT MultiLevelThresholding : public BaseAlgorithm {
    RIX_ALGORITHM(MultiLevelThresholding)

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default 3.
    RIX_INPUT(std::int32_t, NumberOfClasses, numberOfClasses)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
    RIX_RESULT(MultiLevelThresholdingMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::segmentation
