#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include <rix/access/Blocks.h>
#include <rix/edge_detection/FeaturesMsr.h>
#include <rix/image/AxisPlaces.h>

#include "Peaks.h"

namespace rix::edge_detection {

/// The planes of an image in storage order.
class PlanesOf {
public:
    explicit PlanesOf(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) : m_extents(extents) {}
    std::size_t count() const { return m_extents[PLANS] * m_extents[SEQUENCE] * m_extents[SPECTRAL_SERIES]; }
    std::size_t plane(std::size_t i) const { return i % m_extents[PLANS]; }
    std::size_t frame(std::size_t i) const { return i / m_extents[PLANS] % m_extents[SEQUENCE]; }
    std::size_t channel(std::size_t i) const { return i / m_extents[PLANS] / m_extents[SEQUENCE]; }
    /// The segment of a row of a plane.
    access::RowSegment row(std::size_t i, std::size_t y) const {
        access::RowSegment segment;
        segment.row = y;
        segment.plane = plane(i);
        segment.sequence = frame(i);
        segment.spectral = channel(i);
        segment.count = m_extents[COLUMNS];
        return segment;
    }

private:
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
};

/// What a thread may hold to read a row as `double`, or to write it.
inline std::size_t rowBytes(std::size_t columns) {
    return 2 * access::Scratch::held(columns * sizeof(double));
}

/// Calls `mark(x, y)` for the cells closer to a peak's than `apart`, a length along each axis: none for 0.
template <class Mark>
void forEachCellWithin(const Peak& peak, const std::array<double, 2>& apart, std::size_t columns, std::size_t rows,
                       const Mark& mark) {
    if (!(apart[0] > 0.0 && apart[1] > 0.0)) {
        return;
    }
    const auto first = [](std::size_t cell, double reach) {
        const double at = static_cast<double>(cell) - std::floor(reach);
        return at > 0.0 ? static_cast<std::size_t>(at) : 0;
    };
    const auto end = [](std::size_t cell, double reach, std::size_t extent) {
        const double at = static_cast<double>(cell) + std::floor(reach) + 1.0;
        return at < static_cast<double>(extent) ? static_cast<std::size_t>(at) : extent;
    };
    for (std::size_t y = first(peak.cell[1], apart[1]); y < end(peak.cell[1], apart[1], rows); ++y) {
        for (std::size_t x = first(peak.cell[0], apart[0]); x < end(peak.cell[0], apart[0], columns); ++x) {
            const double dx = (static_cast<double>(x) - static_cast<double>(peak.cell[0])) / apart[0];
            const double dy = (static_cast<double>(y) - static_cast<double>(peak.cell[1])) / apart[1];
            if (!(dx * dx + dy * dy >= 1.0)) {
                mark(x, y);
            }
        }
    }
}

/// Which columns features have beside their places.
struct FeatureColumns {
    bool orientations = false;
    bool distances = false;
    bool radii = false;
    String unit{};  ///< of distances and radii
};

/// Fills the table with what was found in the planes of an image.
/// @param place(row, plane, peak) gives the place in voxels, and fills the columns that not all features have
template <class Place>
void fillFeatures(FeaturesMsr& table, const FeatureColumns& columns, const ImageModel& image, const PlanesOf& planes,
                  const std::vector<std::vector<Peak>>& features, const Place& place) {
    table.hasOrientations = columns.orientations;
    table.hasDistances = columns.distances;
    table.hasRadii = columns.radii;
    table.distance.setUnit(columns.unit);
    table.radius.setUnit(columns.unit);
    std::size_t rows = 0;
    for (const std::vector<Peak>& each : features) {
        rows += each.size();
    }
    table.reset(image, 2, rows);
    const helper::AxisPlaces worldOf(image);
    std::size_t i = 0;
    for (std::size_t plane = 0; plane < features.size(); ++plane) {
        for (const Peak& peak : features[plane]) {
            const std::array<double, 2> at = place(i, plane, peak);
            table.setFrame(i, planes.frame(plane), planes.channel(plane));
            table.setPosition(
                i, {worldOf(0, at[0]), worldOf(1, at[1]), worldOf(2, static_cast<double>(planes.plane(plane)))});
            table.strength[i] = peak.value;
            ++i;
        }
    }
}

}  // namespace rix::edge_detection
