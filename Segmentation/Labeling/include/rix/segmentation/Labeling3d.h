#pragma once

#include <rix/algorithms/Declaration.h>
#include <cstdint>

namespace rix::segmentation {

/// Gives every connected set of non-zero voxels of a volume a number of its own: 1, 2, 3, ... in the raster order of
/// the sets' first voxels. The background stays 0.
///
/// **Input** `inputObjectImage`: any extents on all five axes, scalar elements, `uint8`, `uint16`, `uint32`, `int8` or
/// `int16`. The volume of every sequence and spectral index is labelled on its own, from 1 on.
/// **Output** `outputLabelImage`: takes the input's extents and calibration, interpretation label, and the type that
/// `labelType` asks for; where its type is fixed, as a view's, a wider one serves too. It must not be the input image.
///
/// When labels do not fit the type, the output becomes wider: its voxel type tells, the property keeps what was set,
/// the progress message tells too. Labels do not fit when a volume has too many of them; nor when the scan of a band,
/// which numbers what it meets before it knows what belongs together, would need too many. The bands are got by halving
/// the planes (the rows, where there are fewer planes than logical processors) until none has more than their number /
/// logical processors + 1, so that for an image with few objects of very ragged shape the type, never the labels, may
/// differ between machines. The setting "RIX_LABEL_TYPE_PROCESSORS" makes it one, as for `Labeling2d`.
///
/// Method: that of `Labeling2d`, with bands of planes.
///
/// Cost: two passes at memory speed, and 1 to 5 ns for each contact of runs where runs are short. Extra memory: one bit
/// a voxel (rows padded to 64), 4 bytes a row and 4 bytes a run, at most 2.2 bytes a voxel where rows are long, in
/// whole huge pages of 2 MiB; measured on 256 x 256 x 256 voxels: 0.5 bytes a voxel for blobs, at most 1.6 for noise.
///
/// @throws RuleException from `run` for an unset, empty or vector image, another voxel type, an unknown label type or
///         neighbourhood, and an output that is the input or cannot be shaped.
/// @throws ResizeImageError when the output cannot become as wide as the labels need: a view of a narrower type, or no
///         memory.
/// @throws RuntimeError when 32 bits do not hold the labels.
class RIX_EXPORT Labeling3d : public BaseAlgorithm {
    RIX_ALGORITHM(Labeling3d)

    /// Voxel type of the output: unsigned 8, 16 or 32-bit.
    enum LabelType : int { LABEL_8_BIT = 0, LABEL_16_BIT, LABEL_32_BIT };
    /// Whether voxels are neighbours across a face only, also across an edge, or also across a corner.
    enum Neighborhood3DType : int { CONNECTIVITY_6 = 0, CONNECTIVITY_18, CONNECTIVITY_26 };
    static const EnumInfo& getInfoLabelType();
    static const EnumInfo& getInfoNeighborhood3DType();

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Default `LABEL_8_BIT`.
    RIX_CHOICE(LabelType, LabelType, labelType, getInfoLabelType)
    /// Default `CONNECTIVITY_6`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)

    /// The largest label of the last run, over all volumes; 0 before the first run and after a failed one.
    std::uint64_t getNumberOfLabels() const;
};

}  // namespace rix::segmentation
