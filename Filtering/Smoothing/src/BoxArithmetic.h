#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/algorithms/OptimLevel.h>

#include "BoxIntegerKernels.h"
#include "BoxJob.h"

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

/// How sums of 32 bit are made: by the kernels of a level.
template <class T, class Out>
class BoxArithmetic32 {
public:
    using Sum = std::uint32_t;

    BoxArithmetic32(OptimLevelType level, const BoxJob& job)
        : m_samples(boxSlideRows<T>(level)),
          m_sums(boxSlideRows<Sum>(level)),
          m_total(boxTotalRows<Out>(level).sum) {
        // The division starts at 2; the mean of one voxel is its sum.
        if (job.mean && job.voxels > 1) {
            m_total = boxTotalRows<Out>(level).mean;
            m_divider = BoxDivider(static_cast<std::uint32_t>(job.voxels));
        }
    }

    void add(const T* in, Sum* sums, std::size_t count) const { m_samples.add(in, sums, count); }
    void add(const Sum* in, Sum* sums, std::size_t count) const { m_sums.add(in, sums, count); }
    void slide(const T* in, const T* out, Sum* sums, std::size_t count) const {
        m_samples.slide(in, out, sums, count);
    }
    void slide(const Sum* in, const Sum* out, Sum* sums, std::size_t count) const {
        m_sums.slide(in, out, sums, count);
    }
    void total(const Sum* columns, std::size_t count, std::size_t window, Sum first, Out* out) const {
        m_total(columns, count, window, first, out, m_divider);
    }

private:
    const BoxSlideRows<T>& m_samples;
    const BoxSlideRows<Sum>& m_sums;
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

    BoxArithmeticWide(OptimLevelType /*level*/, const BoxJob& job) : m_voxels(static_cast<Signed>(job.voxels)) {}

    template <class In>
    void add(const In* in, Sum* sums, std::size_t count) const {
        for (std::size_t i = 0; i < count; ++i) {
            sums[i] += static_cast<Sum>(in[i]);
        }
    }
    template <class In>
    void slide(const In* in, const In* out, Sum* sums, std::size_t count) const {
        for (std::size_t i = 0; i < count; ++i) {
            sums[i] += static_cast<Sum>(in[i]) - static_cast<Sum>(out[i]);
        }
    }
    void total(const Sum* columns, std::size_t count, std::size_t window, Sum first, Out* out) const {
        Sum total = first;
        for (std::size_t x = 0; x < count; ++x) {
            if (x > 0) {
                total += columns[x + window - 1] - columns[x - 1];
            }
            out[x] = static_cast<Out>(Operator()(static_cast<Signed>(total), m_voxels));
        }
    }

private:
    Signed m_voxels;
};

}  // namespace rix::filtering::smoothing
