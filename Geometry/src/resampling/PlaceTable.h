#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>

#include <rix/access/Blocks.h>
#include <rix/access/Scratch.h>

#include "resampling/PlaceSampling.h"

namespace rix::geometry {

/// Rows of places and of results have space for whole vectors.
inline constexpr std::size_t vectorSpace = 16;

/// The places of the elements of a tile, one by one.
class PlaceTable {
public:
    PlaceTable(const PlaceJob& job, std::size_t voxels)
        : m_axes(job.axes), m_finder(job.makeFinder()), m_places(bytes(job, voxels)), m_voxels(voxels) {}

    static std::size_t bytes(const PlaceJob& job, std::size_t voxels) {
        return (job.axes * voxels + vectorSpace) * sizeof(double);
    }

    void fill(const access::Block& tile) {
        m_tile = tile;
        std::size_t offset = 0;
        tile.forEachRow([&](const access::Position& at) {
            const std::size_t count = tile.columns().length();
            m_finder->find({at, count}, {axis(0) + offset, axis(1) + offset, m_axes == 3 ? axis(2) + offset : nullptr});
            for (std::size_t i = 0; i < m_axes; ++i) {
                for (std::size_t x = 0; x < count; ++x) {
                    double& place = axis(i)[offset + x];
                    place = place >= -farthestPlace ? std::min(place, farthestPlace) : -farthestPlace;
                }
            }
            offset += count;
        });
        std::fill_n(axis(m_axes), vectorSpace, 0.0);
    }

    const double* at(const access::Position& place, std::size_t i) const {
        const std::size_t row =
            (place.plane - m_tile.planes().begin) * m_tile.rows().length() + (place.row - m_tile.rows().begin);
        return m_places.as<double>() + i * m_voxels + row * m_tile.columns().length() +
               (place.column - m_tile.columns().begin);
    }

    /// The smallest place of a part of the tile on an axis, and the greatest.
    std::pair<double, double> range(const access::Block& part, std::size_t i) const {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        part.forEachRow([&](const access::Position& place) {
            const double* const row = at(place, i);
            for (std::size_t x = 0; x < part.columns().length(); ++x) {
                low = std::min(low, row[x]);
                high = std::max(high, row[x]);
            }
        });
        return {low, high};
    }

private:
    double* axis(std::size_t i) const { return m_places.as<double>() + i * m_voxels; }

    std::size_t m_axes;
    std::unique_ptr<PlaceFinder> m_finder;
    access::Scratch m_places;
    std::size_t m_voxels;
    access::Block m_tile;
};

}  // namespace rix::geometry
