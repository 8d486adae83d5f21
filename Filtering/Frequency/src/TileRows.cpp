#include "TileRows.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include <rix/access/Looks.h>

namespace rix::filtering::frequency {

template <class Real>
TileRows<Real>::TileRows(const ImageModel& input, const ConvolutionJob& job)
    : m_tiles(job.tiles),
      m_input(&input, access::voxelTypeOf<Real>),
      m_border(access::borderOf<Real>(job.border, job.borderValue)) {}

template <class Real>
void TileRows<Real>::loadKernel(const ImageModel& kernel, Real* tile) const {
    const auto scale = 1.0 / static_cast<double>(m_tiles.samples());
    access::RowReader<double> reader(kernel);
    access::Looks looks;
    for (std::size_t plane = 0; plane < m_tiles.tile[2]; ++plane) {
        for (std::size_t row = 0; row < m_tiles.tile[1]; ++row) {
            Real* const to = tile + offsetOf(row, plane);
            Real* rest = to;
            if (row < m_tiles.kernel[1] && plane < m_tiles.kernel[2]) {
                const double* const weights = reader.read({{0, row, plane, 0, 0}, m_tiles.kernel[0]});
                rest = std::transform(weights, weights + m_tiles.kernel[0], to,
                                      [&](double weight) { return static_cast<Real>(weight * scale); });
            }
            std::fill(rest, to + m_tiles.tile[0], Real{0});
            looks.add(m_tiles.tile[0]);
        }
    }
}

template <class Real>
void TileRows<Real>::load(const access::Block& block, std::size_t row, std::size_t plane, Real* tile) const {
    const access::Reach reach = m_tiles.reach();
    const auto first = [](const access::Interval& results, const access::Reach::Axis& axis) {
        return static_cast<std::int64_t>(results.begin) - static_cast<std::int64_t>(axis.before);
    };
    Real* const to = tile + offsetOf(row, plane);
    Real* rest = to;
    if (row < block.rows().length() + reach.rows.sum() && plane < block.planes().length() + reach.planes.sum()) {
        rest += block.columns().length() + reach.columns.sum();
        m_border->getData(m_input, to, rest, first(block.columns(), reach.columns),
                          first(block.rows(), reach.rows) + static_cast<std::int64_t>(row),
                          first(block.planes(), reach.planes) + static_cast<std::int64_t>(plane),
                          static_cast<std::int64_t>(block.sequence()), static_cast<std::int64_t>(block.spectral()));
    }
    std::fill(rest, to + m_tiles.tile[0], Real{0});
}

template <class Real>
void TileRows<Real>::store(const access::Block& block, const access::Position& at, const Real* tile,
                           const NotFinite& notFinite, access::RowWriter<Real>& writer) const {
    const TileExtents& kernel = m_tiles.kernel;
    const std::size_t count = block.columns().length();
    const std::size_t row = at.row - block.rows().begin;
    const std::size_t plane = at.plane - block.planes().begin;
    Real* const results = writer.open({at, count});
    std::copy_n(tile + offsetOf(row + kernel[1] - 1, plane + kernel[2] - 1) + kernel[0] - 1, count, results);
    for (std::size_t i = 0; notFinite.any() && i < count; ++i) {
        if (notFinite[offsetOf(row, plane) + i]) {
            results[i] = std::numeric_limits<Real>::quiet_NaN();
        }
    }
    writer.flush();
}

template class TileRows<float>;
template class TileRows<double>;

}  // namespace rix::filtering::frequency
