#pragma once

#include <array>
#include <cmath>
#include <cstddef>

#include <rix/image/AxisPlaces.h>
#include <rix/image/ImageModel.h>
#include <rix/segmentation/PeaksMsr.h>

namespace rix::segmentation {

/// Where the parabola through three samples, of which the middle one is greatest, is highest: from -0.5 to 0.5.
template <class T>
double topBetween(T behind, T at, T ahead) {
    const double before = static_cast<double>(behind);
    const double after = static_cast<double>(ahead);
    const double curvature = before - 2.0 * static_cast<double>(at) + after;
    const double top = 0.5 * (before - after) / curvature;
    return curvature < 0.0 && std::fabs(top) <= 0.5 ? top : 0.0;  // not where something is infinite or NaN
}

/// Writes what is the same for all tables of points: the columns that there are, and where voxels lie in the world.
class PeakPlaces {
public:
    PeakPlaces(const ImageModel& image, std::size_t axes) : m_image(image), m_worldOf(image), m_axes(axes) {}

    /// An empty table.
    void start(PeaksMsr& table, bool hasScales) const {
        table.hasScales = hasScales;
        table.reset(m_image, m_axes, 0);
    }

    void place(PeaksMsr& table, std::size_t row, const std::array<double, 3>& voxel) const {
        table.setPosition(row, {m_worldOf(0, voxel[0]), m_worldOf(1, voxel[1]), m_worldOf(2, voxel[2])});
    }

private:
    const ImageModel& m_image;
    helper::AxisPlaces m_worldOf;
    std::size_t m_axes;
};

}  // namespace rix::segmentation
