#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Merges neighbouring labels of each plane whose mean grey values are near each other.
///
/// The labels are the nodes of a graph, in which those are joined that have voxels beside each other. They are merged
/// in rounds, by how much they differ (as in R. Nock and F. Nielsen, Statistical region merging, 2004): the joined
/// pairs whose means differ by `threshold` or less are put in order, that of the least difference first; of equal ones
/// that of the lower label, and of these that whose other label is lower. In this order the regions that two labels
/// belong to by then are merged if their means still differ by no more than the threshold; the mean follows at once.
/// Rounds are repeated until no two neighbours' means differ so little. A merged region has the lowest label of what it
/// was (labels of signed types compare as their bits do).
///
/// **Input** `inputLabelImage`: any extents on all five axes, scalar elements, any integer type; 0 is no region and
/// stays.
/// **Input** `inputGrayImage`: of the same extents, any real type. NaN and infinities do not count; a region without
/// any finite value is merged with none.
/// **Output** `outputLabelImage`: of the labels' type, extents and calibration. None of the inputs.
///
/// Means are quotients of sums in double precision, added in the order of storage: exact where a region's sum is an
/// integer below 2^53. The same labels on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for unset or empty images, complex or vector images, extents that differ, more than
///         2147483646 voxels in a plane, a threshold that is negative or not finite, and an unknown choice;
///         ResizeImageError or MemoryError when there is no memory.
/// Cost: three passes over the labels; then for each merging the neighbours of both regions, in one thread for each
/// plane. Memory: 4 bytes a voxel of a plane, and a graph of some hundred bytes a region, see `describe` for the most.
class RIX_EXPORT RegionMerging2d : public BaseAlgorithm {
    RIX_ALGORITHM(RegionMerging2d)

    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// In the image's grey levels; default 10.
    RIX_INPUT(double, Threshold, threshold)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
