#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Exchanges the axes of an image, in any order of the five. `order` tells which old axis becomes the new columns,
/// rows, planes, sequence and spectral series, by their letters x, y, z, t and c: "yxztc" transposes planes, "cxyzt"
/// puts the channels of a voxel beside each other.
///
/// The object stays where it is in the world: extents, spacings and directions go with their axes, and the origin, a
/// point, is kept. An axis that comes into space from time or spectrum takes the direction of the axis that leaves it
/// (of several, of the one at the other end of their exchange), with its own spacing and its own origin as coordinate
/// along that direction; the other takes its coordinate along it as origin. The inverse order gives the image back,
/// with directions that are perpendicular of length 1 the calibration as well.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any type, complex ones as well. Spacings of
/// axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1, and the
/// output has it. A label image whose labels count plane by plane keeps its planes, or has them as frames or channels.
/// **Output** `outputImage`: the input's type and interpretation, and its colour interpretation when the channels stay
/// channels. It shares no samples with the input.
///
/// Exact; the same bits on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, spacings that are none,
/// an
///         order that does not name each axis once, labels that it would join, and an output that shares samples with
///         the input; ResizeImageError or MemoryError when there is no memory.
/// Cost: near that of a copy. Where the columns change, squares of a cache line are transposed in registers.
class RIX_EXPORT PermuteAxes : public BaseAlgorithm {
    RIX_ALGORITHM(PermuteAxes)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default "yxztc".
    RIX_INPUT(String, Order, order)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
