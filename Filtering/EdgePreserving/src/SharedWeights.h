#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>
#include <rix/access/WindowRows.h>

#include "EdgeKernels.h"

/// Weights of pairs of voxels of a plane that are the same from both sides: computed once, by the first of the two.
namespace rix::filtering::smoothing {

/// Where the second voxel of a pair is, seen from the first: behind it, in its row or below.
struct PairOffset {
    std::int64_t x;
    std::int64_t y;
    double logarithm;  ///< binary, of what the weight has of the distance
};

/// Rows of weights that are kept: for each offset those of as many rows as it goes down, and of the row itself.
inline std::size_t keptRows(const std::vector<PairOffset>& offsets) {
    std::size_t rows = 0;
    for (const PairOffset& offset : offsets) {
        rows += static_cast<std::size_t>(offset.y) + 1;
    }
    return rows;
}

/// The weights that the voxels of a row that moves down need.
template <class T>
class SharedWeights {
public:
    static constexpr std::size_t vector = 64 / sizeof(T);

    /// Samples of a row of weights. @param radius the most that an offset goes to a side
    static std::size_t stride(std::size_t columns, std::size_t radius) {
        return (columns + radius + 2 * vector - 1) / vector * vector;
    }

    SharedWeights(access::WindowRows<T>& window, std::size_t columns, std::size_t radius,
                  const std::vector<PairOffset>& offsets, const EdgeKernels<T>& kernels, T factor)
        : m_window(window),
          m_columns(columns),
          m_stride(stride(columns, radius)),
          m_offsets(offsets),
          m_kernels(kernels),
          m_factor(factor),
          m_weights(keptRows(offsets) * m_stride * sizeof(T)),
          m_rows(2 * offsets.size() * sizeof(const T*)),
          m_rowWeights(2 * offsets.size() * sizeof(const T*)) {}

    /// out = the weighted mean around each voxel of a segment, which follows the last one or begins anew.
    void average(const access::RowSegment& segment, T* out) {
        const auto row = static_cast<std::int64_t>(segment.row);
        const auto plane = static_cast<std::int64_t>(segment.plane);
        const bool goesOn = m_isBegun && plane == m_plane && row == m_row + 1;
        auto** const rows = m_rows.template as<const T*>();
        auto** const weights = m_rowWeights.template as<const T*>();
        T* memory = m_weights.template as<T>();
        std::size_t taps = 0;
        for (const PairOffset& offset : m_offsets) {
            for (std::int64_t y = goesOn ? row : row - offset.y; y <= row; ++y) {
                weigh(offset, y, plane, slot(memory, offset, y));
            }
            // As the first of a pair, and as the second. Rows of weights begin with the first that is needed.
            rows[taps] = m_window.row(row + offset.y, plane) + offset.x;
            weights[taps++] = slot(memory, offset, row) + std::max<std::int64_t>(offset.x, 0);
            rows[taps] = m_window.row(row - offset.y, plane) - offset.x;
            weights[taps++] = slot(memory, offset, row - offset.y) + std::max<std::int64_t>(-offset.x, 0);
            memory += (static_cast<std::size_t>(offset.y) + 1) * m_stride;
        }
        m_isBegun = true;
        m_plane = plane;
        m_row = row;
        m_kernels.averageWeighted({taps, rows, weights}, m_window.row(row, plane), out, segment.count);
    }

private:
    T* slot(T* memory, const PairOffset& offset, std::int64_t row) const {
        const std::int64_t slots = offset.y + 1;
        return memory + static_cast<std::size_t>((row % slots + slots) % slots) * m_stride;
    }
    /// @param row of the first voxels
    void weigh(const PairOffset& offset, std::int64_t row, std::int64_t plane, T* weights) const {
        const std::int64_t first = std::min<std::int64_t>(-offset.x, 0);
        const std::size_t count = m_columns + static_cast<std::size_t>(offset.x < 0 ? -offset.x : offset.x);
        const T* const upper = m_window.row(row, plane) + first;
        m_kernels.weighPairs(
            upper, m_window.row(row + offset.y, plane) + first + offset.x,
            static_cast<T>(std::max(offset.logarithm, static_cast<double>(std::numeric_limits<T>::lowest()))), m_factor,
            weights, count);
    }

    access::WindowRows<T>& m_window;
    std::size_t m_columns;
    std::size_t m_stride;
    const std::vector<PairOffset>& m_offsets;
    const EdgeKernels<T>& m_kernels;
    T m_factor;
    access::Scratch m_weights;
    access::Scratch m_rows;
    access::Scratch m_rowWeights;
    bool m_isBegun = false;
    std::int64_t m_plane = 0;
    std::int64_t m_row = 0;
};

/// How many rows of weights at most are worth keeping: those of a disc of radius 8.
inline constexpr std::size_t mostKeptRows = 600;

/// Pieces of rows whose weights stay in the cache of the second level.
inline access::Carried carriedWeights(const std::vector<PairOffset>& offsets) {
    constexpr std::size_t cachedSamples = std::size_t{1} << 16;
    return {.piece = std::max<std::size_t>(cachedSamples / std::max<std::size_t>(keptRows(offsets), 1), 128)};
}

}  // namespace rix::filtering::smoothing
