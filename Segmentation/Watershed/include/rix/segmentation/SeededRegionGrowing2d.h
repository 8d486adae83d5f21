#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Lets labelled regions grow to their neighbours, those first whose grey value is nearest to the mean of the region,
/// in each plane (R. Adams, L. Bischof, Seeded region growing, IEEE Transactions on Pattern Analysis and Machine
/// Intelligence 16, 1994).
///
/// The voxels of markers are regions; those of one label are one region. The free neighbours of a voxel that gets a
/// label are queued for its region: markers in raster order, when all markers count in the means. A voxel is queued for
/// a region with the priority |value - mean|, the mean being that of the region at this moment. Again and again the
/// queued voxel of the least priority is taken, of several the one that was queued first. If it has no label yet it
/// gets that of the region, the mean follows at once, and its free neighbours are queued. A voxel may be queued for
/// several regions, and for one again when its mean has moved; the first that is taken labels it.
///
/// Neighbours are queued in raster order. Sums are exact for integers; of reals they are `float64`, in the order in
/// which voxels are labelled.
///
/// **Input** `inputGrayImage`: scalar elements, any real type (`uint8` to `float64`); what is not finite is a wall.
/// `inputMarkerImage`: integers; what is not 0 is of the region of that label. Markers in walls don't count.
/// `inputMaskImage`: optional, any real type; where it is 0 or NaN is a wall. All of the same extents on all five axes.
/// Every plane, for every sequence and spectral index, by itself; less than 2^31 voxels each.
/// **Output** `outputLabelImage`: the labels, in the markers' type, with the extents and the calibration of the grey
/// image; 0 in walls and where no region comes. It shares no memory with the inputs.
///
/// One thread for each plane; the same bits on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, markers that are no
///         integers, images of different extents, an unknown choice, and an output in the memory of an input;
///         MemoryError when there is no memory.
/// Cost: log n for each time that a voxel is queued, which each may be once for each neighbour. Memory: 65 bytes a
/// voxel of a plane; see `describe`.
class RIX_EXPORT SeededRegionGrowing2d : public BaseAlgorithm {
    RIX_ALGORITHM(SeededRegionGrowing2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    /// Optional.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
