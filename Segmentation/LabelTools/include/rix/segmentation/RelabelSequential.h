#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::segmentation {

/// Numbers the labels of an image 1, 2, 3, ... without gaps, in the order of the old ones.
///
/// The least label that is not 0 becomes 1, the next one 2, and so on; 0 stays. Equal labels stay equal, in all planes,
/// frames and channels of the image; where a run is iterated over frames or channels each is numbered by itself.
///
/// **Input** `inputLabelImage`: scalar elements, integers (`uint8` to `int32`), any extents on all five axes.
/// **Output** `outputLabelImage`: the unsigned type of the input's width, which holds as many labels as there can be;
/// the input's extents and calibration, interpretation label. It shares no memory with the input.
///
/// The same bits on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, reals, a complex or vector image, and an output in the
///         memory of the input; MemoryError when there is no memory.
/// Cost: one pass of all threads, one of a thread; of 32 bits a sort. Memory: a table of all labels of 8 and 16 bits;
/// 12 bytes a voxel of 32 bits.
class RIX_EXPORT RelabelSequential : public BaseAlgorithm {
    RIX_ALGORITHM(RelabelSequential)

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
