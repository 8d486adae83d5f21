#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/Blocks.h>

#include "GuidedKernels.h"
#include "SlidingSums.h"

namespace rix::filtering::smoothing {

/// What a block is filtered with.
class Tile {
public:
    /// @param extents of the block @param memory null to find out how much is needed
    Tile(const std::array<std::size_t, 3>& extents, std::size_t radius, bool isVolume, bool hasGuide,
         const GuidedKernels& kernels, const SumKernels<double>& sums, double* memory)
        : m_radius(radius),
          m_isVolume(isVolume),
          m_hasGuide(hasGuide),
          m_columns(extents[0]),
          m_rows(isVolume ? extents[1] : 2 * radius + 1),
          m_kernels(kernels),
          m_parts(memory),
          m_guide(m_parts.take(m_columns + 4 * radius)),
          m_image(m_parts.take(m_columns + 4 * radius)),
          m_square(m_parts.take(m_columns + 4 * radius)),
          m_product(m_parts.take(m_columns + 4 * radius)),
          m_slopes(m_parts.take(m_columns + 2 * radius)),
          m_offsets(m_parts.take(m_columns + 2 * radius)),
          m_held(m_parts.take(m_columns * m_rows * (isVolume ? 2 * radius + 1 : 1))),
          m_moments({2 * radius + 1, hasGuide ? 4U : 2U, m_columns + 2 * radius, extents[1] + 2 * radius, isVolume},
                    m_parts, sums),
          m_fits({2 * radius + 1, 2, m_columns, extents[1], isVolume}, m_parts, sums) {}

    std::size_t doubles() const { return m_parts.taken(); }
    /// One by the voxels of a window.
    double share() const {
        const auto window = static_cast<double>(2 * m_radius + 1);
        return 1.0 / (window * window * (m_isVolume ? window : 1.0));
    }

    /// Calls `load(guide, image, row, plane)` for every row within twice the radius of the block, to fill them from as
    /// many columns before it on, and `use(row, plane, a, b, guide)` for every row of it with the sums of coefficients.
    template <class Load, class Use>
    void filter(const access::Block& block, double noise, const Load& load, const Use& use) {
        const auto reach = static_cast<std::int64_t>(2 * m_radius);
        const auto planeReach = m_isVolume ? reach : 0;
        const auto firstRow = static_cast<std::int64_t>(block.rows().begin);
        const auto endRow = static_cast<std::int64_t>(block.rows().end);
        const auto firstPlane = static_cast<std::int64_t>(block.planes().begin);
        const auto endPlane = static_cast<std::int64_t>(block.planes().end);
        m_moments.start(firstPlane - planeReach);
        m_fits.start(firstPlane - planeReach / 2);
        for (std::int64_t plane = firstPlane - planeReach; plane < endPlane + planeReach; ++plane) {
            const auto give = [&](std::size_t row, const double* sums) {
                const std::int64_t y = firstRow + static_cast<std::int64_t>(row);
                use(y, plane - planeReach, sums, sums + m_columns, held(y, plane - planeReach));
            };
            const auto fit = [&](std::size_t /*row*/, const double* sums) { fitRow(sums, noise, give); };
            m_moments.startPlane(firstRow - reach);
            m_fits.startPlane(firstRow - reach / 2);
            for (std::int64_t row = firstRow - reach; row < endRow + reach; ++row) {
                load(m_guide, m_image, row, plane);
                if (row >= firstRow && row < endRow && plane >= firstPlane && plane < endPlane) {
                    std::copy_n(m_guide + reach, m_columns, held(row, plane));
                }
                m_kernels.multiply(m_guide, m_guide, m_square, m_columns + 4 * m_radius);
                if (m_hasGuide) {
                    m_kernels.multiply(m_guide, m_image, m_product, m_columns + 4 * m_radius);
                }
                const double* const fields[] = {m_guide, m_square, m_image, m_product};
                m_moments.addRow(fields, fit);
            }
            if (m_moments.endPlane(fit)) {
                m_fits.endPlane(give);
            }
        }
    }

private:
    template <class Give>
    void fitRow(const double* sums, double noise, const Give& give) {
        const std::size_t count = m_columns + 2 * m_radius;
        const double* const square = sums + count;
        const double* const image = m_hasGuide ? square + count : sums;
        const double* const product = m_hasGuide ? image + count : square;
        m_kernels.fit(sums, image, square, product, m_slopes, m_offsets, count, share(), noise);
        const double* const fields[] = {m_slopes, m_offsets};
        m_fits.addRow(fields, give);
    }

    /// Rows of the guide wait for the sums around them.
    double* held(std::int64_t row, std::int64_t plane) const {
        const auto ring = static_cast<std::int64_t>(2 * m_radius + 1);
        const auto rows = static_cast<std::int64_t>(m_rows);
        return m_held + ((m_isVolume ? plane % ring * rows : 0) + row % rows) * static_cast<std::int64_t>(m_columns);
    }

    std::size_t m_radius;
    bool m_isVolume;
    bool m_hasGuide;
    std::size_t m_columns;
    std::size_t m_rows;  ///< of the guide that wait, of a plane
    const GuidedKernels& m_kernels;
    Parts<double> m_parts;
    double* m_guide;
    double* m_image;
    double* m_square;
    double* m_product;
    double* m_slopes;
    double* m_offsets;
    double* m_held;
    SlidingSums<double> m_moments;
    SlidingSums<double> m_fits;
};

}  // namespace rix::filtering::smoothing
