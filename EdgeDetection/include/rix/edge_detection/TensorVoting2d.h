#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::edge_detection {

/// Lets tokens of planes, such as edge voxels, vote for the lines through them: gaps are closed, and what lies on no
/// line has few votes (G. Medioni, M.-S. Lee, C.-K. Tang, "A computational framework for segmentation and grouping",
/// 2000).
///
/// **Votes.** A token with the tangent t votes at a receiver in the distance l, in a direction that makes an angle a up
/// to 45 degrees with the line along t, for the circle through both that is tangent to t: for its normal n there, with
/// the matrix n n^T times
///
///     exp(-(s^2 + c k^2) / scale^2),  s = l a / sin(a),  k = 2 sin(a) / l,  c = -16 ln(0.1) (scale - 1) / pi^2,
///
/// the arc length and the curvature (a stick). A token without orientation votes with the mean of what it would vote
/// with tangents of all directions (a ball, whose votes add up to as much as those of a stick). A token has no vote for
/// itself. What a voxel receives adds up to a matrix with the eigenvalues p >= q: its curve saliency is p - q, its
/// junction saliency q, its tangent is across the eigenvector of p.
///
/// **Input** `inputObjectImage`: the tokens, voxels that are not 0 (NaN is none); any extents, one channel, scalar
/// elements, any real type. Planes and frames are images of their own.
/// **Input** `inputOrientationImage`, optional: the angles of the tokens' tangents in radians, from the x axis toward
/// the y axis; the extents of the tokens, any real type. Angles that are not finite are those of tokens without
/// orientation, as all are without this image.
/// **Output** `outputCurveSaliencyImage`, `outputJunctionSaliencyImage`, `outputOrientationImage`, all optional: the
/// saliencies and the angle of the tangent in radians, above -pi / 2 and up to pi / 2; `float32`, with the extents and
/// the calibration of the tokens. They share no samples with the inputs nor with each other.
///
/// **Exactness.** The decay is a polynomial of degree four in sin(a)^2 for each voxel, up to 45 degrees exactly; votes
/// beyond sqrt(ln 2000) scales, about 2.8, are left out. A vote is off by less than 1e-3 of the largest, with all
/// rounding. The same bits on every level of optimisation, for every number of threads and every storage; dense tokens
/// without orientation vote through the Fourier transform, with which results may depend on the processor (see
/// `frequency::getFourierEngine`).
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, several channels,
///         orientations of other extents, a scale outside [1, 50], and an output that shares samples with an input or
///         another output; ResizeImageError or MemoryError when there is no memory.
/// Cost: for each token about 25 scale^2 votes, of some 0.3 ns; without orientation at most that of four Fourier
/// transforms. Memory: 16 bytes a token, or four images of `float32` and those of the transform; at most what
/// `describe` says.
class RIX_EXPORT TensorVoting2d : public BaseAlgorithm {
    RIX_ALGORITHM(TensorVoting2d)

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Optional.
    RIX_INPUT(const ImageModel*, InputOrientationImage, inputOrientationImage)
    /// In voxels; default 5; from 1 to 50.
    RIX_INPUT(double, Scale, scale)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputCurveSaliencyImage, outputCurveSaliencyImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputJunctionSaliencyImage, outputJunctionSaliencyImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputOrientationImage, outputOrientationImage)
};

}  // namespace rix::edge_detection
