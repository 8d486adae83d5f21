#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "BoxDealt.h"
#include "BoxIntegerKernels.h"
#include "BoxJob.h"
#include "BoxPairKernels.h"

namespace rix::filtering::smoothing {

/// The last step of a sum and of a mean, on the total of a window.
struct BoxFilterOperator_Sum {
    template <class Accumulator>
    Accumulator operator()(Accumulator total, Accumulator /*voxels*/) const {
        return total;
    }
};

/// Integers are truncated toward zero.
struct BoxFilterOperator_Normalize {
    template <class Accumulator>
    Accumulator operator()(Accumulator total, Accumulator voxels) const {
        return total / voxels;
    }
};

/// How the sums of up to 257 bytes are made, in 16 bits: by the kernels of a level.
template <class Out>
class BoxArithmetic16 {
public:
    using Sum = std::uint16_t;
    using Row = BoxPairs;

    BoxArithmetic16(OptimLevelType level, const BoxJob& job) : m_rows(boxPairRows(level)) {
        const BoxAxis& axis = job.axes[COLUMNS];
        const std::size_t window = axis.periods == 0 ? axis.window : 0;
        if constexpr (sizeof(Out) == 1) {
            m_divider = BoxPairDivider(static_cast<std::uint32_t>(job.voxels));
            m_totals = boxPairMeans(level, window);
        } else {
            m_totals = boxPairSums(level, window);
        }
    }

    void add(const std::uint8_t* const* in, std::size_t rows, const Row& sums, std::size_t count) const {
        m_rows.addSamples(in, rows, sums, count);
    }
    void add(const Row* in, std::size_t rows, const Row& sums, std::size_t count) const {
        m_rows.addSums(in, rows, sums, count);
    }
    void slide(const std::uint8_t* in, const std::uint8_t* out, const Row& sums, std::size_t count) const {
        m_rows.slideSamples(in, out, sums, count);
    }
    void slide(const Row& in, const Row& out, const Row& sums, std::size_t count) const {
        m_rows.slideSums(in, out, sums, count);
    }
    void reflect(const Row& row, std::size_t first, std::size_t count, std::size_t mirror) const {
        m_rows.reflect(row, first, count, mirror);
    }
    /// Asked for the totals of outputs 0 only.
    Sum sum(const Row& row, std::size_t count) const { return m_totals.takesFirst ? m_rows.sum(row, count) : Sum{0}; }
    void total(const Row& columns, std::size_t count, std::size_t window, Sum first, Out* out,
               const BoxAhead& ahead) const {
        m_totals.row(columns, count, window, first, out, m_divider, ahead);
    }

private:
    const BoxPairRows& m_rows;
    BoxPairTotals<Out> m_totals;
    BoxPairDivider m_divider;
};

/// How sums of 32 bit are made: by the kernels of a level.
template <class T, class Out>
class BoxArithmetic32 {
public:
    using Sum = std::uint32_t;
    using Row = BoxQuads<Sum>;

    BoxArithmetic32(OptimLevelType level, const BoxJob& job)
        : m_samples(boxSlideRows<T>(level)), m_sums(boxSumRows(level)), m_total(boxTotalRows<Out>(level).sum) {
        // The division starts at 2; the mean of one voxel is its sum.
        if (job.mean && job.voxels > 1) {
            const BoxTotalRows<Out> rows = boxTotalRows<Out>(level);
            m_divider = BoxDivider(static_cast<std::uint32_t>(job.voxels));
            m_total = rows.floatMean != nullptr && job.voxels <= BoxDivider::largestForFloat ? rows.floatMean
                      : rows.byteMean != nullptr && m_divider.quotientByte != 0              ? rows.byteMean
                                                                                             : rows.mean;
        }
    }

    void add(const T* const* in, std::size_t rows, const Row& sums, std::size_t count) const {
        m_samples.add(in, rows, sums, count);
    }
    void add(const Row* in, std::size_t rows, const Row& sums, std::size_t count) const {
        m_sums.add(in, rows, sums, count);
    }
    void slide(const T* in, const T* out, const Row& sums, std::size_t count) const {
        m_samples.slide(in, out, sums, count);
    }
    void slide(const Row& in, const Row& out, const Row& sums, std::size_t count) const {
        m_sums.slide(in, out, sums, count);
    }
    void reflect(const Row& row, std::size_t first, std::size_t count, std::size_t mirror) const {
        m_sums.reflect(row, first, count, mirror);
    }
    Sum sum(const Row& row, std::size_t count) const { return m_sums.sum(row, count); }
    void total(const Row& columns, std::size_t count, std::size_t window, Sum first, Out* out,
               const BoxAhead& ahead) const {
        m_total(columns, count, window, first, out, m_divider, ahead);
    }

private:
    const BoxSlideRows<T>& m_samples;
    const BoxSumRows& m_sums;
    BoxTotalRow<Out> m_total;
    BoxDivider m_divider;
};

/// Sums that 32 bits don't hold. They are rare enough for plain loops on every level.
/// @tparam Signed an integer that holds every total; sums are made modulo its size
/// @tparam Operator `BoxFilterOperator_Sum` or `BoxFilterOperator_Normalize`
template <class T, class Out, class Signed, class Unsigned, class Operator>
class BoxArithmeticWide {
public:
    using Sum = Unsigned;
    using Row = BoxQuads<Sum>;

    BoxArithmeticWide(OptimLevelType /*level*/, const BoxJob& job) : m_voxels(static_cast<Signed>(job.voxels)) {}

    /// @tparam In `const T*` or `Row`
    template <class In>
    void add(const In* in, std::size_t rows, const Row& sums, std::size_t count) const {
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t i = 0; i < count; ++i) {
                sums[i] += static_cast<Sum>(in[row][i]);
            }
        }
    }
    template <class In>
    void slide(const In& in, const In& out, const Row& sums, std::size_t count) const {
        for (std::size_t i = 0; i < count; ++i) {
            sums[i] += static_cast<Sum>(in[i]) - static_cast<Sum>(out[i]);
        }
    }
    void reflect(const Row& row, std::size_t first, std::size_t count, std::size_t mirror) const {
        for (std::size_t e = first; e < first + count; ++e) {
            row[e] = row[mirror - e];
        }
    }
    Sum sum(const Row& row, std::size_t count) const {
        Sum sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            sum += row[i];
        }
        return sum;
    }
    void total(const Row& columns, std::size_t count, std::size_t window, Sum first, Out* out,
               const BoxAhead& /*ahead*/) const {
        Sum total = first;
        for (std::size_t x = 0; x < count; ++x) {
            out[x] = static_cast<Out>(Operator()(static_cast<Signed>(total), m_voxels));
            total += columns[x + window] - columns[x];
        }
    }

private:
    Signed m_voxels;
};

}  // namespace rix::filtering::smoothing
