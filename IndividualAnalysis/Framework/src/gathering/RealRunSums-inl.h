// Sums of reals and of integers of 32 bits, in vectors. Included once a pass by IntensityKernels.cpp.

#if defined(RIX_REAL_RUN_SUMS) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_REAL_RUN_SUMS
#undef RIX_REAL_RUN_SUMS
#else
#define RIX_REAL_RUN_SUMS
#endif

#include <cstddef>
#include <cstdint>

#include "RunSums-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::individual_analysis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_EMU128 && HWY_TARGET != HWY_SCALAR

using D = hn::CappedTag<double, lanes>;
using V = hn::Vec<D>;
/// Vectors that hold the eight partial sums.
constexpr std::size_t parts = lanes / hn::MaxLanes(D());
constexpr std::size_t width = hn::MaxLanes(D());

HWY_INLINE V loadReals(const double* values) {
    return hn::LoadU(D(), values);
}
HWY_INLINE V loadReals(const float* values) {
    return hn::PromoteTo(D(), hn::LoadU(hn::Rebind<float, D>(), values));
}
HWY_INLINE V loadReals(const std::int32_t* values) {
    return hn::PromoteTo(D(), hn::LoadU(hn::Rebind<std::int32_t, D>(), values));
}
HWY_INLINE V loadReals(const std::uint32_t* values) {
    const hn::Rebind<std::int32_t, D> d32;
    const auto lowered = hn::Xor(hn::LoadU(d32, reinterpret_cast<const std::int32_t*>(values)),
                                 hn::Set(d32, static_cast<std::int32_t>(0x80000000U)));
    return hn::Add(hn::PromoteTo(D(), lowered), hn::Set(D(), 2147483648.0));
}
template <class T>
HWY_INLINE V loadReals(const T* values) {
    return hn::PromoteTo(D(), hn::PromoteTo(hn::Rebind<std::int32_t, D>(), hn::LoadU(hn::Rebind<T, D>(), values)));
}

/// One of the eight values that end with the run, as vectors.
template <class T>
struct LastValues {
    V values[parts];
    hn::Mask<D> dead[parts];

    HWY_INLINE LastValues(const T* row, std::size_t end, std::size_t rest) {
        HWY_ALIGN T buffer[lanes];
        const T* from = row + end - lanes;
        if (end < lanes) {
            for (std::size_t k = 0; k < lanes; ++k) {
                buffer[k] = k < lanes - end ? T{} : row[k - (lanes - end)];
            }
            from = buffer;
        }
        const auto firstAlive = hn::Set(D(), static_cast<double>(lanes - rest));
        for (std::size_t p = 0; p < parts; ++p) {
            values[p] = loadReals(from + p * width);
            dead[p] = hn::Lt(hn::Iota(D(), static_cast<double>(p * width)), firstAlive);
        }
    }
};

/// Halves that are `step` vectors apart are joined until one vector is left, then the halves of that.
template <class Join>
HWY_INLINE double joinLanes(V* part, const Join& join) {
    for (std::size_t half = parts / 2; half > 0; half /= 2) {
        for (std::size_t p = 0; p < half; ++p) {
            part[p] = join(D(), part[p], part[p + half]);
        }
    }
    if constexpr (width == 8) {
        const hn::Half<D> d4;
        const hn::Half<decltype(d4)> d2;
        const hn::Half<decltype(d2)> d1;
        const auto four = join(d4, hn::LowerHalf(d4, part[0]), hn::UpperHalf(d4, part[0]));
        const auto two = join(d2, hn::LowerHalf(d2, four), hn::UpperHalf(d2, four));
        return hn::GetLane(join(d1, hn::LowerHalf(d1, two), hn::UpperHalf(d1, two)));
    } else if constexpr (width == 4) {
        const hn::Half<D> d2;
        const hn::Half<decltype(d2)> d1;
        const auto two = join(d2, hn::LowerHalf(d2, part[0]), hn::UpperHalf(d2, part[0]));
        return hn::GetLane(join(d1, hn::LowerHalf(d1, two), hn::UpperHalf(d1, two)));
    } else {
        const hn::Half<D> d1;
        return hn::GetLane(join(d1, hn::LowerHalf(d1, part[0]), hn::UpperHalf(d1, part[0])));
    }
}

struct Plus {
    template <class Tag, class Vector>
    HWY_INLINE Vector operator()(Tag, Vector a, Vector b) const {
        return hn::Add(a, b);
    }
};
/// Extrema pass over NaN: a comparison with it is false.
struct Lower {
    template <class Tag, class Vector>
    HWY_INLINE Vector operator()(Tag, Vector a, Vector b) const {
        return hn::IfThenElse(hn::Lt(b, a), b, a);
    }
};
struct Higher {
    template <class Tag, class Vector>
    HWY_INLINE Vector operator()(Tag, Vector a, Vector b) const {
        return hn::IfThenElse(hn::Gt(b, a), b, a);
    }
};

/// What is known of the values of a run of reals.
template <unsigned Parts>
struct RealSums {
    const D d;
    V shift;
    V sum[parts];
    V squares[parts];
    V minimum[parts];
    V maximum[parts];

    HWY_INLINE RealSums() {
        for (std::size_t p = 0; p < parts; ++p) {
            sum[p] = hn::Zero(d);
            squares[p] = hn::Zero(d);
            minimum[p] = hn::Set(d, __builtin_inf());
            maximum[p] = hn::Set(d, -__builtin_inf());
        }
    }
    HWY_INLINE void addDifference(std::size_t p, V difference) {
        sum[p] = hn::Add(sum[p], difference);
        if constexpr (makesSquares<Parts>) {
            squares[p] = hn::Add(squares[p], hn::Mul(difference, difference));
        }
    }
    HWY_INLINE void addAll(std::size_t p, V values) {
        if constexpr (makesSum<Parts>) {
            addDifference(p, hn::Sub(values, shift));
        }
        if constexpr (makesExtrema<Parts>) {
            minimum[p] = Lower()(d, minimum[p], values);
            maximum[p] = Higher()(d, maximum[p], values);
        }
    }
    HWY_INLINE void addAlive(std::size_t p, V values, hn::Mask<D> dead) {
        if constexpr (makesSum<Parts>) {
            addDifference(p, hn::IfThenZeroElse(dead, hn::Sub(values, shift)));
        }
        if constexpr (makesExtrema<Parts>) {
            const auto infinity = hn::Set(d, __builtin_inf());
            minimum[p] = Lower()(d, minimum[p], hn::IfThenElse(dead, infinity, values));
            maximum[p] = Higher()(d, maximum[p], hn::IfThenElse(dead, hn::Neg(infinity), values));
        }
    }
    HWY_INLINE void store(RunSums& sums) {
        if constexpr (makesSum<Parts>) {
            sums.sum = joinLanes(sum, Plus());
        }
        if constexpr (makesSquares<Parts>) {
            sums.squares = joinLanes(squares, Plus());
        }
        if constexpr (makesExtrema<Parts>) {
            sums.minimum = joinLanes(minimum, Lower());
            sums.maximum = joinLanes(maximum, Higher());
        }
    }
};

template <class T, unsigned Parts>
void sumReals(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    for (std::size_t i = 0; i < count; ++i) {
        RealSums<Parts> all;
        if constexpr (makesSum<Parts>) {
            all.shift = hn::Set(D(), shifts[i]);
        }
        std::size_t x = runs[i].begin;
        const std::size_t end = runs[i].end;
        for (; x + lanes <= end; x += lanes) {
            askAhead(row + x);
            for (std::size_t p = 0; p < parts; ++p) {
                all.addAll(p, loadReals(row + x + p * width));
            }
        }
        if (x < end) {
            const LastValues<T> last(row, end, end - x);
            for (std::size_t p = 0; p < parts; ++p) {
                all.addAlive(p, last.values[p], last.dead[p]);
            }
        }
        all.store(sums[i]);
    }
}

template <class T>
void sumMoments(const T* row, const Run* runs, std::size_t count, double* moments) {
    const D d;
    const auto eight = hn::Set(d, static_cast<double>(lanes));
    for (std::size_t i = 0; i < count; ++i) {
        V sum[parts];
        V place[parts];
        for (std::size_t p = 0; p < parts; ++p) {
            sum[p] = hn::Zero(d);
            place[p] = hn::Iota(d, static_cast<double>(p * width));
        }
        std::size_t x = runs[i].begin;
        const std::size_t end = runs[i].end;
        for (; x + lanes <= end; x += lanes) {
            for (std::size_t p = 0; p < parts; ++p) {
                sum[p] = hn::Add(sum[p], hn::Mul(place[p], loadReals(row + x + p * width)));
                place[p] = hn::Add(place[p], eight);
            }
        }
        if (x < end) {
            const LastValues<T> last(row, end, end - x);
            const auto back = hn::Set(d, static_cast<double>(lanes - (end - x)));
            for (std::size_t p = 0; p < parts; ++p) {
                const auto product = hn::Mul(hn::Sub(place[p], back), last.values[p]);
                sum[p] = hn::Add(sum[p], hn::IfThenZeroElse(last.dead[p], product));
            }
        }
        moments[i] = joinLanes(sum, Plus());
    }
}

#endif

}  // namespace rix::individual_analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
