#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/access/PackedRows.h>
#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

namespace rix::segmentation {

/// Which pixels are neighbours of a pixel.
enum class Connectivity : std::uint8_t {
    Edges,              ///< 2D: 4 neighbours
    EdgesCorners,       ///< 2D: 8 neighbours
    Faces,              ///< 3D: 6 neighbours
    FacesEdges,         ///< 3D: 18 neighbours
    FacesEdgesCorners,  ///< 3D: 26 neighbours
};

/// An image as labeling sees it: volumes that are labelled each on its own, made of planes, made of rows.
///
/// In 2D every plane of the image is a volume of one plane. A line is one row of one plane; lines are numbered in
/// storage order, so that a volume is a contiguous range of them.
struct LabelGeometry {
    std::size_t columns = 0;
    std::size_t rows = 0;
    std::size_t planes = 0;  ///< of a volume
    std::size_t volumes = 0;
    Connectivity connectivity = Connectivity::Edges;

    std::size_t words() const { return access::wordsOf(columns); }  ///< 64 pixels each
    std::size_t lines() const { return rows * planes * volumes; }
    std::size_t planeCount() const { return planes * volumes; }
    std::size_t voxelsOfVolume() const { return columns * rows * planes; }
};

/// @throws RuntimeError when the number of voxels does not fit 64 bits.
LabelGeometry geometryOf(const ImageModel& image, Connectivity connectivity);

/// Cuts the volumes into bands: some rows of one plane, or some whole planes of a volume with several. The frames of
/// the plan are the volumes. The cut follows from the geometry alone; labels do not depend on it.
/// @param voxelsPerBand about how large a band is to be; 0 chooses
access::Plan cutIntoBands(const LabelGeometry& geometry, std::size_t voxelsPerBand);

/// The bands of the scan that hands out provisional labels. What a scan of a band would number must fit the output
/// type, so these bands are part of what a user observes. They are got by halving an axis of the volume until no part
/// is longer than its extent / processors + 1: the rows in 2D; in 3D the planes where there are at least as many as
/// processors, else the rows.
class ScanBands {
public:
    ScanBands(const LabelGeometry& geometry, std::size_t processors);

    bool alongPlanes() const { return m_alongPlanes; }
    std::size_t count() const { return m_firsts.size() - 1; }
    std::size_t begin(std::size_t band) const { return m_firsts[band]; }
    std::size_t end(std::size_t band) const { return m_firsts[band + 1]; }
    /// The band that holds an index of the axis.
    std::size_t bandOf(std::size_t index) const;
    /// The number of voxels of a band.
    std::size_t voxels(const LabelGeometry& geometry, std::size_t band) const;

private:
    void halve(std::size_t first, std::size_t last, std::size_t largest);

    bool m_alongPlanes;
    std::vector<std::size_t> m_firsts;  ///< and, last, the extent
};

}  // namespace rix::segmentation
