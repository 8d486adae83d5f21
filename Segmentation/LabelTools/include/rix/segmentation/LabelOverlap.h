#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/segmentation/LabelOverlapMsr.h>

namespace rix::segmentation {

/// Tells which labels of two images lie on each other, and how well they agree. With I the voxels that have the label a
/// in the first image and b in the second, and A and B all voxels of a and of b:
///
///     Jaccard = I / (A + B - I)     Dice = 2 I / (A + B)
///
/// (P. Jaccard, 1912; L. R. Dice, 1945.) To follow objects from one frame to the next, or to compare a segmentation
/// with the truth, object by object.
///
/// **Inputs** `inputLabelImage1`, `inputLabelImage2`: scalar elements, integers (`uint8` to `int32`), of the same
/// extents; also binary images. What is not 0 is a label; equal labels are one object in all planes, frames and
/// channels. Where a run is iterated over frames or channels each is counted by itself.
/// **Output** `outputMeasurement`: a row for each pair of labels that have a voxel in common, in the order of the first
/// label, then the second: none with 0.
///
/// The same values on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, reals, a complex or vector image and other extents;
///         MemoryError when there is no memory.
/// Cost: a pass, and a few nanoseconds for each run of a pair. Memory: 20 to 50 bytes for each pair a thread, pairs
/// with 0 as well.
class RIX_EXPORT LabelOverlap : public BaseAlgorithm {
    RIX_ALGORITHM(LabelOverlap)

    RIX_INPUT(const ImageModel*, InputLabelImage1, inputLabelImage1)
    RIX_INPUT(const ImageModel*, InputLabelImage2, inputLabelImage2)
    /// Unless one was set, null before the first run.
    RIX_RESULT(LabelOverlapMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::segmentation
