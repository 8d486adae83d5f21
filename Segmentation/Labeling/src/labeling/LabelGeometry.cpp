#include "labeling/LabelGeometry.h"

#include <algorithm>

#include <rix/exceptions/Exception.h>

namespace rix::segmentation {

namespace {

/// Bands of this size keep their bits and the numbers of their runs in a level-2 cache.
constexpr std::size_t bandVoxels2d = std::size_t{1} << 19;
/// In 3D the seam between two bands is a whole plane: larger bands have fewer of them.
constexpr std::size_t bandVoxels3d = std::size_t{1} << 20;
/// Small images have smaller bands, so that a few threads find work.
constexpr std::size_t fewestBands = 8;
constexpr std::size_t smallestBandVoxels = std::size_t{1} << 16;
/// More bands than this cost more in seams than further threads gain.
constexpr std::size_t mostBands = 256;
/// Rough cost of a voxel in all phases, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.5;

bool is3d(Connectivity connectivity) {
    return connectivity != Connectivity::Edges && connectivity != Connectivity::EdgesCorners;
}

}  // namespace

LabelGeometry geometryOf(const ImageModel& image, Connectivity connectivity) {
    std::size_t voxels = 0;
    if (!helper::getElementCount(image, voxels)) {
        throw RuntimeError("The image is too large: its number of elements does not fit 64 bits.");
    }
    const auto extents = helper::getExtents(image);
    const std::size_t frames = extents[SEQUENCE] * extents[SPECTRAL_SERIES];
    LabelGeometry geometry{extents[COLUMNS], extents[ROWS], extents[PLANS], frames, connectivity};
    if (!is3d(connectivity)) {
        geometry.volumes *= geometry.planes;
        geometry.planes = 1;
    } else if (geometry.planes == 1) {
        geometry.connectivity = connectivity == Connectivity::Faces ? Connectivity::Edges : Connectivity::EdgesCorners;
    }
    return geometry;
}

access::Plan cutIntoBands(const LabelGeometry& geometry, std::size_t voxelsPerBand) {
    const bool byPlanes = geometry.planes > 1;
    const std::size_t wanted =
        voxelsPerBand != 0
            ? voxelsPerBand
            : access::scaledToBlocks(std::clamp(geometry.voxelsOfVolume() / fewestBands, smallestBandVoxels,
                                                byPlanes ? bandVoxels3d : bandVoxels2d));
    const std::size_t voxelsOfUnit = std::max<std::size_t>(geometry.columns * (byPlanes ? geometry.rows : 1), 1);
    access::BandNeeds needs;
    needs.axis = byPlanes ? PLANS : ROWS;
    needs.elements = std::max<std::size_t>(wanted / voxelsOfUnit, 1);
    needs.group = byPlanes ? 1 : 2;  // rows are cut in pairs
    needs.mostBands = voxelsPerBand != 0 ? needs.mostBands : mostBands;
    needs.nanosecondsPerVoxel = nanosecondsPerVoxel;
    return access::cutBands({geometry.columns, geometry.rows, geometry.planes, geometry.volumes, 1}, needs);
}

ScanBands::ScanBands(const LabelGeometry& geometry, std::size_t processors)
    : m_alongPlanes(geometry.planes > 1 && geometry.planes >= processors) {
    const std::size_t extent = m_alongPlanes ? geometry.planes : geometry.rows;
    halve(0, extent, extent / processors + 1);
    m_firsts.push_back(extent);
}

void ScanBands::halve(std::size_t first, std::size_t last, std::size_t largest) {
    if (last - first <= largest) {
        m_firsts.push_back(first);
        return;
    }
    const std::size_t middle = first + (last - first) / 2;
    halve(first, middle, largest);
    halve(middle, last, largest);
}

std::size_t ScanBands::bandOf(std::size_t index) const {
    const auto next = std::upper_bound(m_firsts.begin(), m_firsts.end(), index);
    return static_cast<std::size_t>(next - m_firsts.begin()) - 1;
}

std::size_t ScanBands::voxels(const LabelGeometry& geometry, std::size_t band) const {
    const std::size_t across = m_alongPlanes ? geometry.rows : geometry.planes;
    return (end(band) - begin(band)) * across * geometry.columns;
}

}  // namespace rix::segmentation
