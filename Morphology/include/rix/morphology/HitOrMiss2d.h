#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::morphology {

/// Finds a pattern in each plane: where all voxels that one element asks for are of an object, and all that another one
/// asks for are background (J. Serra, Image Analysis and Mathematical Morphology, 1982),
///
///     H = { p : p + b is object for all b of the foreground element, and background for all b of the other }.
///
/// What lies beyond the edges is neither.
///
/// **Input** `inputObjectImage`: what is not 0 (NaN also) is an object. Any extents on all five axes, scalar elements,
/// any real type (`uint8` to `float64`). Every plane, for every sequence and spectral index, by itself.
/// **Input** `inputForegroundElementImage`, `inputBackgroundElementImage`: what is not 0 belongs to the element; the
/// origin is the voxel at index floor(extent / 2) of both axes. A plane each, any real type. One of them may have no
/// such voxel. Where they overlap nothing is found.
/// **Output** `outputBinaryImage`: binary, `uint8`, of the object image's extents and calibration. It may be that image
/// where it is `uint8`, but shares no memory with the elements.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an element of several
/// planes,
///         two elements without any voxel, and an output in the memory of an element; MemoryError when there is no
///         memory.
/// Cost: for each row of voxels of an element as many passes over one bit a voxel, in the cache, as its length has
/// binary digits; none more where nothing is left in a row. Memory: three bits a voxel, of rows in multiples of 256
/// voxels.
class RIX_EXPORT HitOrMiss2d : public BaseAlgorithm {
    RIX_ALGORITHM(HitOrMiss2d)

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    RIX_INPUT(const ImageModel*, InputForegroundElementImage, inputForegroundElementImage)
    RIX_INPUT(const ImageModel*, InputBackgroundElementImage, inputBackgroundElementImage)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
