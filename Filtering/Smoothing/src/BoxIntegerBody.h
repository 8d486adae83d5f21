#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/Buffer.h>
#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>

#include "BoxAhead.h"
#include "BoxDealt.h"
#include "BoxEdges.h"
#include "BoxNeeds.h"

namespace rix::filtering::smoothing {

/// Sums the windows of one block of an image of integers.
///
/// A row of column sums follows the window down the plane: it gains the row that enters and loses the one that leaves.
/// Along the row a total follows in the same way. With windows over several planes a whole band of sums follows the
/// window through the planes first, and its rows take the place of the image's.
///
/// @tparam T samples, @tparam Out results, @tparam Arithmetic how sums are made (`BoxArithmetic16`,
/// `BoxArithmetic32`, `BoxArithmeticWide`)
template <class T, class Out, class Arithmetic>
class BoxIntegerBody {
public:
    using Sum = typename Arithmetic::Sum;
    using Dealt = typename Arithmetic::Row;

    BoxIntegerBody(const ImageModel& input, ImageModel& output, const BoxJob& job, const Arithmetic& arithmetic,
                   const access::Block& block)
        : m_job(job),
          m_arithmetic(arithmetic),
          m_block(block),
          m_columns(sourceRange(job.axes[COLUMNS], block.columns())),
          m_rows(sourceRange(job.axes[ROWS], block.rows())),
          m_width(m_columns.end - m_columns.begin),
          m_input(input),
          m_output(output),
          m_edges(job.axes[COLUMNS], block.columns(), m_columns) {}

    void run(access::BlockProgress& progress) {
        if (m_job.axes[ROWS].border == BoxBorder::Zero) {
            std::fill_n(m_noSamples.reserve(m_width), m_width, static_cast<T>(m_job.origin));
            rowsOf(m_noSums, m_width, 1);
        }
        const bool volume = !m_job.axes[PLANS].isIdentity();
        for (std::size_t plane = m_block.planes().begin; plane < m_block.planes().end; ++plane) {
            if (volume) {
                advancePlane(plane);
                filterPlane(plane, progress, [this](std::size_t /*slot*/, std::size_t row) {
                    return row == BoxAxis::outside ? Dealt::over(m_noSums.data(), Dealt::strideFor(m_width))
                                                   : planeRow(row);
                });
            } else {
                filterPlane(plane, progress,
                            [this, plane](std::size_t slot, std::size_t row) { return readRow(slot, row, plane); });
            }
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
        return m_input.read(segment(m_columns, row, plane), slot);
    }

    /// The first of some rows of zeros.
    static Dealt rowsOf(access::Buffer<Sum>& buffer, std::size_t entries, std::size_t rows) {
        std::size_t count = 0;
        if (!helper::checkedMultiply(Dealt::sizeFor(entries), rows, count)) {
            throw MemoryError("The size of a working buffer does not fit 64 bits.");
        }
        std::fill_n(buffer.reserve(count), count, Sum{0});
        return Dealt::over(buffer.data(), Dealt::strideFor(entries));
    }

    Dealt planeRow(std::size_t row) const {
        return Dealt::over(m_planeSums.data() + (row - m_rows.begin) * Dealt::sizeFor(m_width),
                           Dealt::strideFor(m_width));
    }

    /// sums += the elements [first, last) of an axis. @param rowOf gives the row of an element; 8 slots are valid at a
    /// time
    template <class RowOf>
    void addElements(std::size_t first, std::size_t last, const Dealt& sums, const RowOf& rowOf) {
        using Row = decltype(rowOf(first, first));
        for (std::size_t e = first; e < last; e += boxGroup) {
            const std::size_t count = std::min(boxGroup, last - e);
            std::array<Row, boxGroup> rows;
            for (std::size_t i = 0; i < count; ++i) {
                rows[i] = rowOf(i, e + i);
            }
            m_arithmetic.add(rows.data(), count, sums, m_width);
        }
    }

    /// sums = the window of index `first` of an axis, whole periods of the sequence included.
    /// @param rowOf gives the row of an index
    template <class RowOf>
    void sumWindow(const BoxAxis& axis, std::size_t first, const Dealt& sums, const RowOf& rowOf) {
        addElements(first, first + axis.window, sums,
                    [&](std::size_t slot, std::size_t e) { return rowOf(slot, axis.source(e)); });
        if (axis.periods == 0) {
            return;
        }
        // A period holds every index twice.
        const Dealt once = rowsOf(m_periods, m_width, 1);
        addElements(0, axis.extent, once, rowOf);
        for (std::size_t i = 0; i < m_width; ++i) {
            sums[i] = static_cast<Sum>(sums[i] + once[i] * static_cast<Sum>(2 * axis.periods));
        }
    }

    void advancePlane(std::size_t plane) {
        const BoxAxis& axis = m_job.axes[PLANS];
        if (plane == m_block.planes().begin) {
            rowsOf(m_planeSums, m_width, m_rows.end - m_rows.begin);
            access::Looks looks;  // many planes are read before there is a result
            for (std::size_t row = m_rows.begin; row < m_rows.end; ++row) {
                looks.add(m_width * axis.window / 8 + 1);
                sumWindow(axis, plane, planeRow(row),
                          [&](std::size_t slot, std::size_t z) { return readRow(slot, row, z); });
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

    /// @param rowOf gives a row of samples or of sums
    template <class RowOf>
    void filterPlane(std::size_t plane, access::BlockProgress& progress, const RowOf& rowOf) {
        const BoxAxis& axis = m_job.axes[ROWS];
        // Most of the work is done on the columns: they are the ones to be aligned.
        const std::size_t shift = Dealt::shiftFor(m_edges.firstColumn);
        const Dealt columnSums = rowsOf(m_columnSums, shift + m_edges.size, 1);
        m_elements = columnSums.from(shift + m_edges.firstElement);
        m_column = columnSums.from(shift + m_edges.firstColumn);
        sumWindow(axis, m_block.rows().begin, m_column, rowOf);
        for (std::size_t row = m_block.rows().begin; row < m_block.rows().end; ++row) {
            const access::RowSegment out = segment(m_block.columns(), row, plane);
            Out* const results = m_output.open(out);
            if (row + 1 == m_block.rows().end) {
                totalRow(results, BoxAhead{});
            } else {
                const auto in = rowOf(0, axis.source(row + axis.window));
                const auto leaving = rowOf(1, axis.source(row));
                totalRow(results, aheadOf(in, leaving));
                m_arithmetic.slide(in, leaving, m_column, m_width);
            }
            m_output.flush();
            progress.add(out.count);
        }
    }

    static BoxAhead aheadOf(const T* entering, const T* leaving) {
        return {reinterpret_cast<const std::uint8_t*>(entering), reinterpret_cast<const std::uint8_t*>(leaving),
                sizeof(T)};
    }
    /// Sums are in the cache.
    static BoxAhead aheadOf(const Dealt& /*entering*/, const Dealt& /*leaving*/) { return {}; }

    void totalRow(Out* out, const BoxAhead& ahead) {
        const BoxAxis& axis = m_job.axes[COLUMNS];
        m_edges.fill([this](std::size_t first, std::size_t count,
                            std::size_t mirror) { m_arithmetic.reflect(m_elements, first, count, mirror); },
                     [this](std::size_t element, std::size_t column) { m_elements[element] = m_column[column]; });
        Sum first = m_arithmetic.sum(m_elements, axis.window);
        if (axis.periods > 0) {
            const Sum period = m_arithmetic.sum(m_column, m_width);
            first = static_cast<Sum>(first + period * static_cast<Sum>(2 * axis.periods));
        }
        m_arithmetic.total(m_elements, m_block.columns().end - m_block.columns().begin, axis.window, first, out, ahead);
    }

    const BoxJob& m_job;
    const Arithmetic& m_arithmetic;
    access::Block m_block;
    access::Interval m_columns;  ///< the source columns
    access::Interval m_rows;     ///< the source rows
    std::size_t m_width;
    access::RowReader<T, boxGroup> m_input;
    access::RowWriter<Out, 1> m_output;
    BoxEdges m_edges;

    access::Buffer<Sum> m_columnSums;
    Dealt m_elements{};  ///< the sequence along the row, from the first window's first element on
    Dealt m_column{};    ///< the source columns inside it
    access::Buffer<Sum> m_planeSums;
    access::Buffer<Sum> m_periods;
    access::Buffer<T> m_noSamples;  ///< for rows outside
    access::Buffer<Sum> m_noSums;
};

}  // namespace rix::filtering::smoothing
