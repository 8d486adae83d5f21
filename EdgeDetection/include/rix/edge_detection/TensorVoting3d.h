#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix {
class EnumInfo;
}

namespace rix::edge_detection {

/// What the directions of tokens in volumes are.
enum class TokenOrientation : int {
    NORMAL = 0,  ///< of surfaces
    TANGENT      ///< of curves
};

RIX_EXPORT const EnumInfo& getInfoTokenOrientation();

/// Lets tokens of volumes vote for the surfaces and the curves through them, as `TensorVoting2d` does in planes.
///
/// **Votes.** A token with a normal votes for the spheres through it: at a receiver in whose direction from the token
/// makes an angle a up to 45 degrees with its tangent plane, with the decay of `TensorVoting2d` for the great circle
/// through both and the normal of the sphere there (a stick). A token with a tangent votes with the mean of the sticks
/// with all normals across the tangent (a plate), one without with the mean of those in all directions (a ball). What a
/// voxel receives adds up to a matrix with the eigenvalues p >= q >= r: its surface saliency is p - q, its curve
/// saliency q - r, its junction saliency r; the normal of the surface is the eigenvector of p, the tangent of the curve
/// that of r.
///
/// **Input** `inputObjectImage`: the tokens, voxels that are not 0 (NaN is none); any extents, one channel, scalar
/// elements, any real type. Frames are images of their own.
/// **Input** `inputOrientationImage`, optional: the tokens' normals or tangents, as `orientation` says, x, y and z in
/// three channels, of any length; else the extents of the tokens, any real type. Tokens where they are 0 or not finite
/// have no orientation, as none has without this image.
/// **Output** `outputSurfaceSaliencyImage`, `outputCurveSaliencyImage`, `outputJunctionSaliencyImage`, all optional:
/// `float32`, with the extents and the calibration of the tokens. **Output** `outputOrientationImage`, optional, the
/// same with six channels: the normal, then the tangent, of length 1; their first component that is not 0 is positive.
/// They share no samples with the inputs nor with each other.
///
/// **Exactness.** A vote is off by less than 1e-3 of the largest, as in `TensorVoting2d`. The same bits on every level
/// of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, several channels of tokens,
///         orientations of other extents or without three channels, a scale outside [1, 30], an unknown choice, and an
///         output that shares samples with an input or another output; ResizeImageError or MemoryError when there is no
///         memory.
/// Cost: for each token about 90 scale^3 votes, of some 0.6 ns, and of 25 ns for tangents. Memory: the field, 36 bytes
/// for each vote of a quarter of it, and 16 bytes a token; at most what `describe` says.
class RIX_EXPORT TensorVoting3d : public BaseAlgorithm {
    RIX_ALGORITHM(TensorVoting3d)

    /// What directions of tokens are.
    using Orientation = TokenOrientation;
    using enum TokenOrientation;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Optional.
    RIX_INPUT(const ImageModel*, InputOrientationImage, inputOrientationImage)
    /// Default `NORMAL`.
    RIX_CHOICE(Orientation, Orientation, orientation, getInfoTokenOrientation)
    /// In voxels; default 5; from 1 to 30.
    RIX_INPUT(double, Scale, scale)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputSurfaceSaliencyImage, outputSurfaceSaliencyImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputCurveSaliencyImage, outputCurveSaliencyImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputJunctionSaliencyImage, outputJunctionSaliencyImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputOrientationImage, outputOrientationImage)
};

}  // namespace rix::edge_detection
