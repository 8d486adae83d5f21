#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::edge_detection {

/// Marks where volumes change their sign: the three-dimensional form of `ZeroCrossings2d`, with which it shares types,
/// exactness and failures. Neighbours are the six across a face.
///
/// Cost: some 30 operations a voxel. Memory: the rows of a window a thread; see `describe`.
class RIX_EXPORT ZeroCrossings3d : public BaseAlgorithm {
    RIX_ALGORITHM(ZeroCrossings3d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0; at least 0.
    RIX_INPUT(double, Threshold, threshold)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::edge_detection
