#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::edge_detection {

/// Marks where planes change their sign, such as the edges in a Laplacian of a Gaussian.
///
/// A voxel is marked when one of its four neighbours across an edge has the other sign, 0 counts as positive, their
/// difference is above `threshold`, and the voxel is the nearer one to 0; of two as near the positive one. So changes
/// of sign give lines of one voxel.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). Frames
/// and channels are images of their own. NaN has no sign.
/// **Output** `outputBinaryImage`: `uint8`, binary, of the input's extents and calibration. It shares no samples with
/// the input.
///
/// Exact; the same on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a threshold that is
/// negative or
///         not finite, and an output that shares samples with the input; ResizeImageError or MemoryError when there is
///         no memory.
/// Cost: some 20 operations a voxel. Memory: the rows of a window a thread; see `describe`.
class RIX_EXPORT ZeroCrossings2d : public BaseAlgorithm {
    RIX_ALGORITHM(ZeroCrossings2d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0; at least 0.
    RIX_INPUT(double, Threshold, threshold)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::edge_detection
