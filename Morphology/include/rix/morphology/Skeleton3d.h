#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::morphology {

/// Thins the objects of each volume to lines of one voxel in their middle: their curve skeletons.
///
/// The three-dimensional form of `Skeleton2d`: every volume, for every sequence and spectral index, by itself. Taking a
/// *simple* voxel changes neither the number of objects (connected across faces, edges and corners) nor of cavities
/// (connected across faces) nor of tunnels: the objects around it are one piece, and so is the background beside it (G.
/// Bertrand, G. Malandain, A new characterization of three-dimensional simple points, 1994). What encloses a cavity
/// becomes a closed surface, everything else lines and points. An end has at most one of the 26 neighbours.
///
/// - *Layers* are by turns the voxels with background across a face; across a face or an edge, in two rounds; across a
///   face, in one; across a face, an edge or a corner, in three.
/// - A round has eight turns: even and odd columns for even and odd rows for even and odd planes.
///
/// Types, values, failures and what stays the same are shared. Memory: three bits a voxel, of rows in multiples of 256.
class RIX_EXPORT Skeleton3d : public BaseAlgorithm {
    RIX_ALGORITHM(Skeleton3d)

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
