#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include <rix/access/Buffer.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/algorithms/OptimLevel.h>

#include "BoxEdges.h"
#include "BoxNeeds.h"
#include "BoxRealKernels.h"
#include "BoxRealState.h"

namespace rix::filtering::smoothing {

/// Sums the windows of one block of an image of `float` or `double`, eight rows at a time: down the plane first, then
/// along the rows. With windows over several planes, eight planes of sums along z come before, and their rows take the
/// place of the image's.
template <class T>
class BoxRealBody {
public:
    BoxRealBody(const ImageModel& input, ImageModel& output, const BoxJob& job, OptimLevelType level,
                const access::Block& block)
        : m_job(job),
          m_block(block),
          m_columns(sourceRange(job.axes[COLUMNS], block.columns())),
          m_rows(sourceRange(job.axes[ROWS], block.rows())),
          m_width(m_columns.end - m_columns.begin),
          m_stride((m_width + boxGroup - 1) / boxGroup * boxGroup),
          m_input(input),
          m_output(output),
          m_samples(boxRealRows<T>(level)),
          m_sums(boxRealRows<double>(level)),
          m_total(boxRealTotals<T>(level)),
          m_lanes(boxRealLanes(level)),
          m_across(job.axes[COLUMNS].window),
          m_down(job.axes[ROWS].window, m_sums),
          m_through(job.axes[PLANS].window, m_sums),
          m_edges(job.axes[COLUMNS], block.columns(), m_columns) {}

    void run(access::BlockProgress& progress) {
        const std::size_t count = m_block.columns().end - m_block.columns().begin;
        // Groups are summed to their end, and columns are written by whole vectors.
        m_stripSize =
            (std::max(m_edges.firstElement + (count + boxGroup) + m_across.size, m_edges.firstColumn + m_stride) +
             boxGroup) *
            m_lanes;
        std::fill_n(m_strips.reserve(m_stripSize * boxGroup / m_lanes), m_stripSize * boxGroup / m_lanes, 0.0);
        m_ring.reserve(m_across.whole * m_lanes + m_lanes);
        m_unused.reserve(count);
        if (m_job.axes[ROWS].border == BoxBorder::Zero) {
            std::fill_n(m_noSamples.reserve(m_width), m_width, T{0});
            std::fill_n(m_noSums.reserve(m_width), m_width, 0.0);
        }
        if (m_job.axes[PLANS].isIdentity()) {
            for (std::size_t plane = m_block.planes().begin; plane < m_block.planes().end; ++plane) {
                filterPlane<T>(plane, m_samples, progress,
                               [this, plane](std::size_t slot, std::size_t row) { return readRow(slot, row, plane); });
            }
        } else {
            filterVolume(progress);
        }
    }

private:
    access::RowSegment segment(const access::Interval& columns, std::size_t row, std::size_t plane) const {
        return {columns.begin, row, plane, m_block.sequence(), m_block.spectral(), columns.end - columns.begin};
    }

    const T* readRow(std::size_t slot, std::size_t row, std::size_t plane) {
        if (row == BoxAxis::outside || plane == BoxAxis::outside) {
            return m_noSamples.data();
        }
        const T* const samples = m_input.read(segment(m_columns, row, plane), slot);
        if (!m_job.hasDifferences()) {
            return samples;
        }
        T* const differences = m_differences.reserve(2 * boxGroup * m_width) + slot * m_width;
        for (std::size_t x = 0; x < m_width; ++x) {
            const T difference = samples[x] - static_cast<T>(m_job.origin);
            differences[x] = m_job.squares ? difference * difference : difference;
        }
        return differences;
    }

    /// The element that row `i` of a group holds; elements behind the last window of the block are not there, and the
    /// sums that they enter are not used.
    static std::size_t elementOf(const BoxRealWindow& window, std::size_t first, std::size_t i, std::size_t end) {
        const std::size_t element = window.isShort() || i < boxGroup ? first + i : first + window.size + i - boxGroup;
        return std::min(element, end + window.size - 2);
    }

    /// Adds a group of rows, or fewer. @param rowOf gives row i of them
    template <class S, class RowOf>
    void addRows(const BoxRealRows<S>& kernels, std::size_t count, double* sums, const RowOf& rowOf) {
        const S* rows[boxGroup];
        for (std::size_t i = 0; i < count; ++i) {
            rows[i] = rowOf(i);
        }
        kernels.add(rows, count, sums, m_width);
    }

    /// What the windows along an axis have in common, or null.
    /// @param add `add(first, count, sums)` adds up to a group of indices
    template <class Add>
    const double* commonOf(const BoxAxis& axis, access::Buffer<double>& buffer, std::size_t entries, const Add& add) {
        if (axis.periods == 0) {
            return nullptr;
        }
        double* const common = buffer.reserve(entries);
        std::fill_n(common, entries, 0.0);
        for (std::size_t first = 0; first < axis.extent; first += boxGroup) {
            add(first, std::min(boxGroup, axis.extent - first), common);
        }
        const double times = 2 * static_cast<double>(axis.periods);
        for (std::size_t i = 0; i < entries; ++i) {
            common[i] *= times;
        }
        return common;
    }

    void filterVolume(access::BlockProgress& progress) {
        const BoxAxis& axis = m_job.axes[PLANS];
        const std::size_t rows = m_rows.end - m_rows.begin;
        const std::size_t entries = rows * m_stride;
        const auto addPlanes = [&](std::size_t count, double* sums, const auto& planeOf) {
            for (std::size_t row = 0; row < rows; ++row) {
                addRows(m_samples, count, sums + row * m_stride,
                        [&](std::size_t i) { return readRow(i, m_rows.begin + row, planeOf(i)); });
            }
        };
        m_through.start(m_block.planes().begin / boxGroup, entries,
                        [&](std::size_t first, std::size_t count, double* sums) {
                            addPlanes(count, sums, [&](std::size_t i) { return axis.source(first + i); });
                        });
        const double* const common =
            commonOf(axis, m_commonThrough, entries, [&](std::size_t first, std::size_t count, double* sums) {
                addPlanes(count, sums, [&](std::size_t i) { return first + i; });
            });
        double* const planes = m_planes.reserve(boxGroup * entries);
        for (std::size_t first = m_block.planes().begin; first < m_block.planes().end; first += boxGroup) {
            BoxRealGroup<T> group{};
            for (std::size_t row = 0; row < rows; ++row) {
                m_through.show(group, row * m_stride);
                group.common = common != nullptr ? common + row * m_stride : nullptr;
                for (std::size_t i = 0; i < m_through.window().rowsOfGroup(); ++i) {
                    const std::size_t element = elementOf(m_through.window(), first, i, m_block.planes().end);
                    group.rows[i] = readRow(i, m_rows.begin + row, axis.source(element));
                }
                double* targets[boxGroup];
                for (std::size_t i = 0; i < boxGroup; ++i) {
                    targets[i] = planes + i * entries + row * m_stride;
                }
                m_samples.toRows(group, m_width, targets);
            }
            m_through.advance();
            for (std::size_t i = 0; i < std::min(boxGroup, m_block.planes().end - first); ++i) {
                const double* const sums = planes + i * entries;
                filterPlane<double>(first + i, m_sums, progress, [&](std::size_t /*slot*/, std::size_t row) {
                    return row == BoxAxis::outside ? m_noSums.data() : sums + (row - m_rows.begin) * m_stride;
                });
            }
        }
    }

    /// @param rowOf gives a row of samples or of sums; 16 slots are valid at a time
    template <class S, class RowOf>
    void filterPlane(std::size_t plane, const BoxRealRows<S>& kernels, access::BlockProgress& progress,
                     const RowOf& rowOf) {
        const BoxAxis& axis = m_job.axes[ROWS];
        m_down.start(m_block.rows().begin / boxGroup, m_stride,
                     [&](std::size_t first, std::size_t count, double* sums) {
                         addRows(kernels, count, sums, [&](std::size_t i) { return rowOf(i, axis.source(first + i)); });
                     });
        BoxRealGroup<S> group{};
        group.common = commonOf(axis, m_commonDown, m_stride, [&](std::size_t first, std::size_t count, double* sums) {
            addRows(kernels, count, sums, [&](std::size_t i) { return rowOf(i, first + i); });
        });
        for (std::size_t first = m_block.rows().begin; first < m_block.rows().end; first += boxGroup) {
            m_down.show(group, 0);
            for (std::size_t i = 0; i < m_down.window().rowsOfGroup(); ++i) {
                group.rows[i] = rowOf(i, axis.source(elementOf(m_down.window(), first, i, m_block.rows().end)));
            }
            kernels.toStrips(group, m_width, m_strips.data() + m_edges.firstColumn * m_lanes, m_stripSize);
            m_down.advance();
            totalRows(first, plane);
            progress.add(std::min(boxGroup, m_block.rows().end - first) *
                         (m_block.columns().end - m_block.columns().begin));
        }
    }

    /// Sums along the rows of the strips and writes the results.
    void totalRows(std::size_t first, std::size_t plane) {
        const std::size_t rows = std::min(boxGroup, m_block.rows().end - first);
        T* results[boxGroup];
        for (std::size_t i = 0; i < boxGroup; ++i) {
            results[i] = i < rows ? m_output.open(segment(m_block.columns(), first + i, plane), i) : m_unused.data();
        }
        BoxRealStrip<T> strip{};
        strip.window = &m_across;
        strip.count = m_block.columns().end - m_block.columns().begin;
        strip.firstGroup = m_block.columns().begin / boxGroup;
        strip.ring = m_ring.data();
        strip.factor = 1;
        if (m_job.mean && m_job.voxels > 1) {
            const auto voxels = static_cast<double>(m_job.voxels);
            if constexpr (sizeof(T) == sizeof(float)) {
                setReciprocal(strip, voxels);
            } else {
                strip.divisor = voxels;
            }
        }
        for (std::size_t i = 0; i < rows; i += m_lanes) {
            double* const memory = m_strips.data() + i / m_lanes * m_stripSize;
            double* const elements = memory + m_edges.firstElement * m_lanes;
            const double* const columns = memory + m_edges.firstColumn * m_lanes;
            m_edges.fill(
                [&](std::size_t from, std::size_t count, std::size_t mirror) {
                    for (std::size_t e = from; e < from + count; ++e) {
                        std::copy_n(elements + (mirror - e) * m_lanes, m_lanes, elements + e * m_lanes);
                    }
                },
                [&](std::size_t element, std::size_t column) {
                    std::copy_n(columns + column * m_lanes, m_lanes, elements + element * m_lanes);
                });
            double common[boxGroup];
            strip.common = commonOfStrip(columns, common);
            strip.elements = elements;
            strip.rows = results + i;
            m_total(strip);
        }
        for (std::size_t i = 0; i < rows; ++i) {
            m_output.flush(i);
        }
    }

    /// Quotients in single precision are products: rounded, they are the same. That needs care where a quotient lies
    /// half way between two results: the rounded reciprocal may miss it, then the rest of the reciprocal brings it
    /// back.
    static void setReciprocal(BoxRealStrip<T>& strip, double voxels) {
        strip.factor = 1 / voxels;
        double excess = std::fma(strip.factor, voxels, -1.0);
        if (std::abs(excess) <= 0x1p-54) {
            return;  // less than half a unit in the last place of any quotient
        }
        if (excess > 0) {  // the rest must be positive: infinite totals stay infinite
            strip.factor = std::nextafter(strip.factor, 0.0);
            excess = std::fma(strip.factor, voxels, -1.0);
        }
        strip.rest = -excess / voxels;
    }

    const double* commonOfStrip(const double* columns, double* common) const {
        const BoxAxis& axis = m_job.axes[COLUMNS];
        if (axis.periods == 0) {
            return nullptr;
        }
        std::fill_n(common, m_lanes, 0.0);
        for (std::size_t x = 0; x < m_width; ++x) {
            for (std::size_t lane = 0; lane < m_lanes; ++lane) {
                common[lane] += columns[x * m_lanes + lane];
            }
        }
        for (std::size_t lane = 0; lane < m_lanes; ++lane) {
            common[lane] *= 2 * static_cast<double>(axis.periods);
        }
        return common;
    }

    const BoxJob& m_job;
    access::Block m_block;
    access::Interval m_columns;  ///< the source columns
    access::Interval m_rows;     ///< the source rows
    std::size_t m_width;
    std::size_t m_stride;  ///< of rows of sums
    access::RowReader<T, 2 * boxGroup> m_input;
    access::RowWriter<T, boxGroup> m_output;
    const BoxRealRows<T>& m_samples;
    const BoxRealRows<double>& m_sums;
    BoxRealTotals<T> m_total;
    std::size_t m_lanes;

    BoxRealWindow m_across;
    BoxRealState m_down;
    BoxRealState m_through;
    BoxEdges m_edges;
    std::size_t m_stripSize = 0;
    access::Buffer<double> m_strips;
    access::Buffer<double> m_ring;
    access::Buffer<double> m_planes;
    access::Buffer<double> m_commonDown;
    access::Buffer<double> m_commonThrough;
    access::Buffer<T> m_unused;  ///< takes results behind the last row
    access::Buffer<T> m_differences;
    access::Buffer<T> m_noSamples;  ///< zeros, for rows outside
    access::Buffer<double> m_noSums;
};

}  // namespace rix::filtering::smoothing
