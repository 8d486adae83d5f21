#pragma once

#include <rix/algorithms/Declaration.h>
#include <cstdint>

namespace rix::segmentation {

/// Gives every connected set of non-zero pixels of a plane a number of its own: 1, 2, 3, ... in the raster order of the
/// sets' first pixels. The background stays 0.
///
/// **Input** `inputObjectImage`: any extents on all five axes, scalar elements, `uint8`, `uint16`, `uint32`, `int8` or
/// `int16`. Every plane, for every sequence and spectral index, is labelled on its own, from 1 on.
/// **Output** `outputLabelImage`: takes the input's extents and calibration, interpretation label, and the type that
/// `labelType` asks for; where its type is fixed, as a view's, a wider one serves too. It must not be the input image.
///
/// When labels do not fit the type, the output becomes wider: its voxel type tells, the property keeps what was set,
/// the progress message tells too. Labels do not fit when a plane has too many of them; nor when the scan of a band of
/// rows, which numbers what it meets before it knows what belongs together, would need too many. The bands are got by
/// halving the rows until none has more than rows / logical processors + 1, so that for an image with few objects of
/// very ragged shape the type, never the labels, may differ between machines. Who needs one type on all of them sets
/// "RIX_LABEL_TYPE_PROCESSORS" to a number that then counts as that of logical processors (1: one band, the widest
/// need), or asks for `LABEL_32_BIT`.
///
/// Method: the image becomes one bit a pixel; runs of set bits (or, where it pays, of two rows laid over each other)
/// are the nodes of a union-find forest whose roots are the first nodes in raster order; contacts of rows and numbers
/// of runs are found by counting bits (after Lacassagne and Zavidovique, Light speed labeling, Journal of Real-Time
/// Image Processing 6, 2011, and Lee, Allegretti, Bolelli and Grana, Fast run-based connected components labeling for
/// bitonal images, 2021). Bands of rows are joined in parallel, the seams between them afterwards.
///
/// Cost: two passes at memory speed, and 1 to 5 ns a run where runs are short. Extra memory: one bit a pixel (rows
/// padded to 64), 4 bytes a row and 4 bytes a run, at most 2.2 bytes a pixel, in whole huge pages of 2 MiB; measured on
/// 4096 x 4096 pixels: 0.4 to 0.6 bytes a pixel for photographs, at most 1.5 for noise.
///
/// @throws RuleException from `run` for an unset, empty or vector image, another voxel type, an unknown label type or
///         neighbourhood, and an output that is the input or cannot be shaped.
/// @throws ResizeImageError when the output cannot become as wide as the labels need: a view of a narrower type, or no
///         memory.
/// @throws RuntimeError when 32 bits do not hold the labels.
class RIX_EXPORT Labeling2d : public BaseAlgorithm {
    RIX_ALGORITHM(Labeling2d)

    /// Voxel type of the output: unsigned 8, 16 or 32-bit.
    enum LabelType : int { LABEL_8_BIT = 0, LABEL_16_BIT, LABEL_32_BIT };
    /// Whether pixels are neighbours across an edge only, or also across a corner.
    enum Neighborhood2DType : int { CONNECTIVITY_4 = 0, CONNECTIVITY_8 };
    static const EnumInfo& getInfoLabelType();
    static const EnumInfo& getInfoNeighborhood2DType();

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Default `LABEL_8_BIT`.
    RIX_CHOICE(LabelType, LabelType, labelType, getInfoLabelType)
    /// Default `CONNECTIVITY_4`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)

    /// The largest label of the last run, over all planes; 0 before the first run and after a failed one.
    std::uint64_t getNumberOfLabels() const;
};

}  // namespace rix::segmentation
