#pragma once

#include <algorithm>
#include <cstddef>

#include "BoxEdges.h"
#include "BoxPlan.h"
#include "BoxRows.h"

namespace rix::filtering::smoothing {

/// Sums the windows of one block of an image of integers.
///
/// A row of column sums follows the window down the plane: it gains the row that enters and loses the one that leaves.
/// Along the row a total follows in the same way. With windows over several planes a whole band of sums follows the
/// window through the planes first, and its rows take the place of the image's.
///
/// @tparam T samples, @tparam Out results, @tparam Arithmetic how sums are made (`BoxArithmetic32`, `BoxArithmeticWide`)
template <class T, class Out, class Arithmetic>
class BoxIntegerBody {
public:
    using Sum = typename Arithmetic::Sum;

    BoxIntegerBody(const ImageModel& input, ImageModel& output, const BoxJob& job, const Arithmetic& arithmetic,
                   const BoxBlock& block)
        : m_job(job),
          m_arithmetic(arithmetic),
          m_block(block),
          m_columns(sourceRange(job.axes[COLUMNS], block.columns)),
          m_rows(sourceRange(job.axes[ROWS], block.rows)),
          m_width(m_columns.end - m_columns.begin),
          m_input(input),
          m_output(output),
          m_edges(job.axes[COLUMNS], block.columns, m_columns) {}

    void run(BoxProgress& progress) {
        // One more in front: the kernels look at the element before the first.
        std::fill_n(m_columnSums.reserve(m_edges.size + 1), m_edges.size + 1, Sum{0});
        m_element = m_columnSums.data() + 1 + m_edges.firstElement;
        m_column = m_columnSums.data() + 1 + m_edges.firstColumn;
        if (m_job.axes[ROWS].border == BoxBorder::Zero) {
            std::fill_n(m_noSamples.reserve(m_width), m_width, T{0});
            std::fill_n(m_noSums.reserve(m_width), m_width, Sum{0});
        }
        const bool volume = !m_job.axes[PLANS].isIdentity();
        for (std::size_t plane = m_block.planes.begin; plane < m_block.planes.end; ++plane) {
            if (volume) {
                advancePlane(plane);
                filterPlane(plane, progress, [this](std::size_t /*slot*/, std::size_t row) -> const Sum* {
                    return row == BoxAxis::outside ? m_noSums.data() : planeRow(row);
                });
            } else {
                filterPlane(plane, progress, [this, plane](std::size_t slot, std::size_t row) {
                    return readRow(slot, row, plane);
                });
            }
        }
        progress.tell();
    }

private:
    access::RowSegment segment(const access::Interval& columns, std::size_t row, std::size_t plane) const {
        return {columns.begin, row, plane, m_block.sequence, m_block.spectral, columns.end - columns.begin};
    }

    const T* readRow(std::size_t slot, std::size_t row, std::size_t plane) {
        if (row == BoxAxis::outside || plane == BoxAxis::outside) {
            return m_noSamples.data();
        }
        return m_input.read(slot, segment(m_columns, row, plane));
    }

    Sum* planeRow(std::size_t row) const { return m_planeSums.data() + (row - m_rows.begin) * m_width; }

    /// sums += whole periods of a sequence whose period holds every index twice.
    template <class Add>
    void addPeriods(const BoxAxis& axis, Sum* sums, std::size_t count, const Add& addAll) {
        if (axis.periods == 0) {
            return;
        }
        Sum* const once = m_periods.reserve(count);
        std::fill_n(once, count, Sum{0});
        addAll(once);
        for (std::size_t i = 0; i < count; ++i) {
            sums[i] += once[i] * static_cast<Sum>(2 * axis.periods);
        }
    }

    void advancePlane(std::size_t plane) {
        const BoxAxis& axis = m_job.axes[PLANS];
        if (plane == m_block.planes.begin) {
            const std::size_t count = (m_rows.end - m_rows.begin) * m_width;
            std::fill_n(m_planeSums.reserve(count), count, Sum{0});
            for (std::size_t row = m_rows.begin; row < m_rows.end; ++row) {
                Sum* const sums = planeRow(row);
                for (std::size_t e = plane; e < plane + axis.window; ++e) {
                    m_arithmetic.add(readRow(0, row, axis.source(e)), sums, m_width);
                }
                addPeriods(axis, sums, m_width, [&](Sum* once) {
                    for (std::size_t z = 0; z < axis.extent; ++z) {
                        m_arithmetic.add(readRow(0, row, z), once, m_width);
                    }
                });
            }
            return;
        }
        const std::size_t entering = axis.source(plane + axis.window - 1);
        const std::size_t leaving = axis.source(plane - 1);
        for (std::size_t row = m_rows.begin; row < m_rows.end; ++row) {
            const T* const in = readRow(0, row, entering);
            m_arithmetic.slide(in, readRow(1, row, leaving), planeRow(row), m_width);
        }
    }

    /// @param rowOf gives a row of samples or of sums; two slots are valid at a time
    template <class RowOf>
    void filterPlane(std::size_t plane, BoxProgress& progress, const RowOf& rowOf) {
        const BoxAxis& axis = m_job.axes[ROWS];
        std::fill_n(m_column, m_width, Sum{0});
        for (std::size_t e = m_block.rows.begin; e < m_block.rows.begin + axis.window; ++e) {
            m_arithmetic.add(rowOf(0, axis.source(e)), m_column, m_width);
        }
        addPeriods(axis, m_column, m_width, [&](Sum* once) {
            for (std::size_t row = 0; row < axis.extent; ++row) {
                m_arithmetic.add(rowOf(0, row), once, m_width);
            }
        });
        for (std::size_t row = m_block.rows.begin; row < m_block.rows.end; ++row) {
            if (row > m_block.rows.begin) {
                const auto* const in = rowOf(0, axis.source(row + axis.window - 1));
                m_arithmetic.slide(in, rowOf(1, axis.source(row - 1)), m_column, m_width);
            }
            const access::RowSegment out = segment(m_block.columns, row, plane);
            totalRow(m_output.open(0, out));
            m_output.flush(0, out);
            progress.add(out.count);
        }
    }

    void totalRow(Out* out) {
        const BoxAxis& axis = m_job.axes[COLUMNS];
        m_edges.forEachRepeated([this](std::size_t element, std::size_t column) {
            m_element[element] = m_column[column];
        });
        Sum first = 0;
        if (axis.periods > 0) {
            for (std::size_t i = 0; i < m_width; ++i) {
                first += m_column[i];
            }
            first *= static_cast<Sum>(2 * axis.periods);
        }
        for (std::size_t e = 0; e < axis.window; ++e) {
            first += m_element[e];
        }
        m_arithmetic.total(m_element, m_block.columns.end - m_block.columns.begin, axis.window, first, out);
    }

    const BoxJob& m_job;
    const Arithmetic& m_arithmetic;
    BoxBlock m_block;
    access::Interval m_columns;  ///< the source columns
    access::Interval m_rows;     ///< the source rows
    std::size_t m_width;
    BoxInputRows<T, 2> m_input;
    BoxOutputRows<Out, 1> m_output;
    BoxEdges m_edges;

    BoxBuffer<Sum> m_columnSums;
    Sum* m_element = nullptr;       ///< the sequence along the row, from the first window's first element on
    Sum* m_column = nullptr;        ///< the source columns inside it
    BoxBuffer<Sum> m_planeSums;
    BoxBuffer<Sum> m_periods;
    BoxBuffer<T> m_noSamples;       ///< zeros, for rows outside
    BoxBuffer<Sum> m_noSums;
};

}  // namespace rix::filtering::smoothing
