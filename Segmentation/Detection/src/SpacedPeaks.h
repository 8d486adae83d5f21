#pragma once

#include <array>
#include <cstddef>

#include <rix/access/MemoryAccount.h>

namespace rix::segmentation {

/// A regional maximum.
struct Peak {
    std::size_t part;   ///< plane or volume, in storage order
    std::size_t first;  ///< place of its first voxel in the part, in storage order
    double value;
    std::array<double, 3> place;  ///< between the voxels, counted along the axes
};

/// Of the peaks of a part from the highest down, those that are not nearer than a distance to one that was taken.
class SpacedPeaks {
public:
    /// @param extents of a part
    /// @param units lengths of a voxel along each axis
    SpacedPeaks(double distance, const std::array<std::size_t, 3>& extents, const std::array<double, 3>& units);

    /// Orders peaks by part and value, and takes out those that are too near.
    void thin(access::CountedVector<Peak>& peaks) const;

    /// The most bytes beside the peaks.
    static double bytesFor(double peaks);

private:
    std::size_t cellOf(const Peak& peak, const std::array<int, 3>& step, bool& isInside) const;
    bool areNear(const Peak& a, const Peak& b) const;

    double m_distance;
    std::array<double, 3> m_units;
    std::array<double, 3> m_cell;  ///< extents of a cell in voxels: what is near lies in a cell beside
    std::array<std::size_t, 3> m_cells;
};

}  // namespace rix::segmentation
