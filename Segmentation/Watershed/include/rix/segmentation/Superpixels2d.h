#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix::segmentation {

/// Divides each plane into superpixels, compact parts of similar values, by simple linear iterative clustering
/// (R. Achanta et al., SLIC superpixels compared to state-of-the-art superpixel methods, 2012).
///
/// Centres begin on a regular grid of about `numberOfSegments`; each has a position and the values of all channels.
/// In every iteration each voxel takes the centre of the least distance
///
///     D^2 = sum over the channels (v - v_c)^2 + (m / S)^2 ((x - x_c)^2 + (y - y_c)^2)
///
/// among those at most a step of the grid away along each axis (where there are none, two steps, and so on), with m =
/// `compactness` and S the side of a square of as many voxels as a centre has; then each centre moves to the mean of
/// its voxels. After the last iteration the parts that are connected across edges are numbered, from 1 on in the order
/// of their first voxels; those smaller than a quarter of S^2 are given to the part before their first voxel in its
/// row, or in its column where there is none. So each label is connected, and their number is near the one that was
/// asked for. Of equally near centres the one in the upper row of the grid's cells is taken, then that of the lower
/// number.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). The
/// channels are taken together, as they are: colours divide best as Lab (`ConvertColorSpace`), for which the default of
/// the compactness is made. A binary image counts as 0 and 1.
/// **Output** `outputLabelImage`: `uint32`, of the input's extents but for its one channel, and its calibration. Labels
/// are those of a plane. Not the input.
///
/// Values of more than 16 bits are rounded to 2^-22 of the range between the smallest and the largest finite value of
/// the image, beyond which infinities count as its ends and NaN as its start. Distances are in `float32`, sums for the
/// means exact. The same labels on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, more than 2147483646 voxels
/// in
///         a plane, a number of segments below 1 or of iterations out of the range from 1 to 1000, and a compactness
///         that is not finite or negative; ResizeImageError or MemoryError when there is no memory.
/// Cost: about four distances a voxel and iteration. Memory: 8 bytes and 4 a channel for each voxel of a plane, and
/// what is known of the centres, once a thread.
class RIX_EXPORT Superpixels2d : public BaseAlgorithm {
    RIX_ALGORITHM(Superpixels2d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 200.
    RIX_INPUT(std::int32_t, NumberOfSegments, numberOfSegments)
    /// In the image's grey levels; default 10.
    RIX_INPUT(double, Compactness, compactness)
    /// Default 10.
    RIX_INPUT(std::int32_t, NumberOfIterations, numberOfIterations)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
