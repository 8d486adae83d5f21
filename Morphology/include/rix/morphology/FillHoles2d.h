#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Fills the holes of objects in each plane: in a binary image, background that is not connected to the edge of the
/// plane becomes object; in a grey image, every regional minimum that does not touch the edge is filled up to the
/// lowest level from which there is a way down to the edge.
///
/// The result is the reconstruction by erosion of the image I from its edge: the smallest image J above I that is I on
/// the edge and has no regional minimum inside,
///
///     J(p) = min over all paths from p to the edge of the plane, of the largest value of I on the path.
///
/// Paths step between neighbours of the background, whose connectivity is the dual one of `neighborhood`, that of the
/// objects: 4 neighbours when objects have 8, 8 when they have 4.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). Every
/// plane, for every sequence and spectral index, is filled on its own.
/// **Output** `outputImage`: takes the input's extents, type, calibration and interpretation; a binary image stays one,
/// with the values that it has. It may be the input image; the run then needs a copy of it.
///
/// NaN is a wall that stays NaN: paths don't pass it, and what has no path to the edge for that is set to infinity. A
/// zero with a sign lies below one without.
///
/// Method: the hybrid of sweeps and queues (Vincent, Morphological grayscale reconstruction in image analysis, IEEE
/// Transactions on Image Processing 2(2), 1993) in tiles that fit the cache; tiles exchange what reaches their edges
/// until nothing changes. The result is unique and so the same, bit for bit, for every number of threads.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image and an unknown
/// neighbourhood;
///         MemoryError when there is no memory.
/// Cost: some 15 ns a voxel of a binary image (blobs, one thread); three times that for hills with noise, whose levels
/// fall many times before they are final. Memory: some bytes a voxel of a tile a thread, and copies of images that are
/// not one array in memory; see `describe`.
class RIX_EXPORT FillHoles2d : public BaseAlgorithm {
    RIX_ALGORITHM(FillHoles2d)

    /// Which voxels of an object are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the objects; default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
