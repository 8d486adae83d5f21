#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::morphology {

/// Thins the objects of each plane to lines of one voxel in their middle: their skeletons.
///
/// Voxels are taken away one after another, each of them *simple*: taking it changes neither the number of objects
/// (connected across edges and corners) nor of holes (connected across edges), which is so when its crossing number is
/// 1 (S. Yokoi, J.-I. Toriwaki, T. Fukumura, An analysis of topological properties of digitized binary pictures, 1975).
/// So the result has as many objects and holes as the input, and lies within it. It ends when no voxel is simple but
/// the ends of lines, which have at most one neighbour: taking the skeleton again changes nothing.
///
/// Which voxels are taken, and when:
/// - Objects are peeled in *layers*, by turns the voxels with background across an edge, and those with background
///   across an edge or a corner. So layers are about as thick in all directions, and lines come to lie in the middle.
/// - A layer is taken in one round, and one of the second kind in two. In a round are those of its voxels that have at
///   least two neighbours when the round begins: what ends a line then stays.
/// - A round has four turns: even rows and columns, odd columns of even rows, even columns of odd rows, odd rows and
///   columns (counted from 0). In its turn a voxel goes if it is simple as things are by then. Voxels of the same turn
///   are no neighbours, so no order among them counts.
///
/// **Input** `inputObjectImage`: what is not 0 (NaN also) is an object. Any extents on all five axes, scalar elements,
/// any real type (`uint8` to `float64`). Beyond the edges lies background. Every plane, for every sequence and spectral
/// index, by itself.
/// **Output** `outputBinaryImage`: binary, `uint8`, of the input's extents and calibration. It may be the input image
/// where that is `uint8`.
///
/// The same bits on every level, for every number of threads and every storage. A shift of the objects by an odd number
/// of rows or columns may move a line by a voxel.
///
/// @throws RuleException from `run` for an unset or empty image, or a complex or vector image; MemoryError when there
/// is
///         no memory.
/// Cost: some passes over one bit a voxel for each voxel that the objects are thick, where objects are left; 64 voxels
/// and more at a time. Memory: three bits a voxel, of rows in multiples of 256 voxels.
class RIX_EXPORT Skeleton2d : public BaseAlgorithm {
    RIX_ALGORITHM(Skeleton2d)

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
