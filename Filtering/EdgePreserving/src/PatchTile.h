#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/Looks.h>

#include "EdgeKernels.h"
#include "SlidingSums.h"

namespace rix::filtering::smoothing {

/// The radii of both windows of non-local means along an axis.
struct PatchRadii {
    std::int64_t patch;
    std::int64_t search;
    std::int64_t both() const { return patch + search; }
};

/// How far a voxel is from another.
using Offset = std::array<std::int64_t, 3>;

/// What a block of non-local means is computed with: samples around it, and for each voxel the sums of weights and of
/// weighted differences.
///
/// Two voxels weigh for each other what the other one weighs for them. So each offset is looked at once, its opposite
/// with it: weights are computed for every voxel of the block and every voxel that is the offset before one, and added
/// at both ends. A voxel takes what it is given in an order that is the same in each block. Patch distances are sums
/// over windows of squared differences, which neighbours share.
template <class T>
class PatchTile {
public:
    /// @param radii of columns and rows, and of planes: 0 where squares are compared
    /// @param memory null to find out how much is needed
    PatchTile(const std::array<std::size_t, 3>& extents, const PatchRadii& radii, const PatchRadii& ofPlanes,
              const EdgeKernels<T>& kernels, const SumKernels<T>& sums, T* memory)
        : m_extents(extents),
          m_radii{radii, radii, ofPlanes},
          m_isVolume(ofPlanes.patch > 0),
          m_kernels(kernels),
          m_sumKernels(sums),
          m_inputStride(padded(extents[0] + count(2 * radii.both()))),
          m_stride(padded(extents[0])) {
        Parts<T> parts(memory);
        m_input = parts.take(m_inputStride * (extents[1] + count(2 * radii.both())) *
                             (extents[2] + count(2 * ofPlanes.both())));
        m_sums = parts.take(m_stride * extents[1] * extents[2]);
        m_totals = parts.take(m_stride * extents[1] * extents[2]);
        m_squares = parts.take(padded(extents[0] + count(radii.search + 2 * radii.patch)));
        m_weights = parts.take(padded(extents[0] + count(radii.search)) + lanes);
        m_memoryOfSums = memory != nullptr ? memory + parts.taken() : nullptr;
        sumsOf(extents[0] + count(radii.search), extents[1] + count(radii.search), parts);
        m_samples = parts.taken();
        if (memory != nullptr) {
            std::fill_n(memory, m_samples, T{0});
        }
    }

    /// Of `T`, that it is computed with.
    std::size_t samples() const { return m_samples; }

    /// The row at a position in the block or around it, from a column on.
    T* input(std::int64_t x, std::int64_t y, std::int64_t z) const {
        const std::int64_t row = y + m_radii[1].both();
        const std::int64_t plane = z + m_radii[2].both();
        const auto rows = static_cast<std::int64_t>(m_extents[1]) + 2 * m_radii[1].both();
        return m_input + static_cast<std::int64_t>(m_inputStride) * (plane * rows + row) + x + m_radii[0].both();
    }

    /// Adds what all voxels of the window searched contribute. @param first voxel of the block in its image
    void addAll(const Offset& first, T factor) {
        for (std::int64_t z = 0; z <= m_radii[2].search; ++z) {
            for (std::int64_t y = z == 0 ? 0 : -m_radii[1].search; y <= m_radii[1].search; ++y) {
                for (std::int64_t x = z == 0 && y == 0 ? 0 : -m_radii[0].search; x <= m_radii[0].search; ++x) {
                    add(first, {x, y, z}, factor);
                }
            }
        }
    }

    void divide(std::size_t row, std::size_t plane, T* out) const {
        const std::size_t place = m_stride * (plane * m_extents[1] + row);
        m_kernels.divide(m_sums + place, m_totals + place,
                         input(0, static_cast<std::int64_t>(row), static_cast<std::int64_t>(plane)), out, m_extents[0]);
    }

private:
    /// Of the widest vectors, which kernels may write behind a row.
    static constexpr std::size_t lanes = 64 / sizeof(T);
    static std::size_t padded(std::size_t count) { return (count + 2 * lanes - 1) / lanes * lanes; }
    static std::size_t count(std::int64_t number) { return static_cast<std::size_t>(number); }

    SlidingSums<T> sumsOf(std::size_t columns, std::size_t rows, Parts<T>& parts) const {
        return {{count(2 * m_radii[0].patch + 1), 1, columns, rows, m_isVolume}, parts, m_sumKernels};
    }

    void add(const Offset& first, const Offset& offset, T factor) {
        Offset begin;
        Offset end;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            begin[axis] = std::min<std::int64_t>(0, -offset[axis]);
            end[axis] = static_cast<std::int64_t>(m_extents[axis]) + std::max<std::int64_t>(0, -offset[axis]);
        }
        const std::int64_t patch = m_radii[1].patch;
        const std::int64_t planes = m_radii[2].patch;
        const std::size_t columns = count(end[0] - begin[0]);
        Parts<T> parts(m_memoryOfSums);
        SlidingSums<T> sums = sumsOf(columns, count(end[1] - begin[1]), parts);
        sums.start(first[2] + begin[2] - planes);
        for (std::int64_t z = begin[2] - planes; z < end[2] + planes; ++z) {
            const auto use = [&](std::size_t row, const T* distances) {
                m_kernels.weigh(distances, factor, m_weights, columns);
                give(begin[0], begin[1] + static_cast<std::int64_t>(row), z - planes, offset);
            };
            sums.startPlane(first[1] + begin[1] - patch);
            for (std::int64_t y = begin[1] - patch; y < end[1] + patch; ++y) {
                const T* const here = input(begin[0] - patch, y, z);
                const T* const there = input(begin[0] - patch + offset[0], y + offset[1], z + offset[2]);
                m_kernels.squareDifferences(here, there, m_squares, columns + count(2 * patch));
                const T* const fields[] = {m_squares};
                sums.addRow(fields, use);
                m_looks.add(columns / 16 + 1);
            }
            sums.endPlane(use);
        }
    }

    /// Adds a row of weights, the first of column `begin`, where it belongs.
    void give(std::int64_t begin, std::int64_t y, std::int64_t z, const Offset& offset) {
        const auto [dx, dy, dz] = offset;
        if (isInside(y, z)) {
            accumulate(m_weights - begin, input(dx, y + dy, z + dz), y, z);
        }
        const bool isOwn = dx == 0 && dy == 0 && dz == 0;
        if (!isOwn && isInside(y + dy, z + dz)) {
            accumulate(m_weights - dx - begin, input(-dx, y, z), y + dy, z + dz);
        }
    }

    void accumulate(const T* weights, const T* voxels, std::int64_t y, std::int64_t z) {
        const std::size_t place = m_stride * (count(z) * m_extents[1] + count(y));
        m_kernels.accumulate(weights, voxels, input(0, y, z), m_sums + place, m_totals + place, m_extents[0]);
    }

    bool isInside(std::int64_t y, std::int64_t z) const {
        return y >= 0 && y < static_cast<std::int64_t>(m_extents[1]) && z >= 0 &&
               z < static_cast<std::int64_t>(m_extents[2]);
    }

    std::array<std::size_t, 3> m_extents;
    std::array<PatchRadii, 3> m_radii;
    bool m_isVolume;
    const EdgeKernels<T>& m_kernels;
    const SumKernels<T>& m_sumKernels;
    std::size_t m_inputStride;
    std::size_t m_stride;
    T* m_input = nullptr;
    T* m_sums = nullptr;
    T* m_totals = nullptr;
    T* m_squares = nullptr;
    T* m_weights = nullptr;
    T* m_memoryOfSums = nullptr;
    std::size_t m_samples = 0;
    access::Looks m_looks;
};

}  // namespace rix::filtering::smoothing
