// Powers of two in vectors of reals, from plain arithmetic: the same bits with every instruction set. Included once a
// pass by files of kernels.

#if defined(RIX_EDGE_EXPONENTIAL) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_EDGE_EXPONENTIAL
#undef RIX_EDGE_EXPONENTIAL
#else
#define RIX_EDGE_EXPONENTIAL
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// 2^r for r from -1/2 to 1/2 as a polynomial that is exactly 1 at 0, and what else a type needs.
template <class T>
struct PowerOfTwo;

/// Of the least largest relative error, 4.4e-7.
template <>
struct PowerOfTwo<float> {
    using Bits = std::int32_t;
    static constexpr int mantissa = 23;
    static constexpr float least = -100.0F;
    static constexpr float shift = 0x1.8p23F;  ///< added, it leaves the nearest integer in the low bits
    static constexpr std::size_t terms = 6;
    static constexpr float of[terms] = {1.0F,           0x1.62e39ep-1F, 0x1.ebfa4ep-3F,
                                        0x1.c74322p-5F, 0x1.3cbea8p-7F, 0x1.23a604p-10F};
};

/// The series of the exponential function, which ends below the precision of the type: log(2)^k / k!.
template <>
struct PowerOfTwo<double> {
    using Bits = std::int64_t;
    static constexpr int mantissa = 52;
    static constexpr double least = -900.0;
    static constexpr double shift = 0x1.8p52;
    static constexpr std::size_t terms = 14;
    static constexpr double of[terms] = {
        1.0,
        0.69314718055994530942,
        0.24022650695910071233,
        0.055504108664821579953,
        0.0096181291076284771619,
        0.0013333558146428443423,
        0.00015403530393381609954,
        1.5252733804059840280e-05,
        1.3215486790144309488e-06,
        1.0178086009239699728e-07,
        7.0549116208011233299e-09,
        4.4455382718708114976e-10,
        2.5678435993488205142e-11,
        1.3691488853904128881e-12,
    };
};

/// 2^t for t from 0 down. Below `least` it stays what it is there: next to nothing, but so much that products with
/// samples are no denormal numbers, which are slow.
template <class D>
HWY_INLINE hn::Vec<D> powerOfTwo(D d, hn::Vec<D> t) {
    using P = PowerOfTwo<hn::TFromD<D>>;
    const hn::Rebind<typename P::Bits, D> di;
    const auto bounded = hn::Max(t, hn::Set(d, P::least));
    const auto shifted = hn::Add(bounded, hn::Set(d, P::shift));
    const auto r = hn::Sub(bounded, hn::Sub(shifted, hn::Set(d, P::shift)));
    auto sum = hn::Set(d, P::of[P::terms - 1]);
    HWY_UNROLL(16)
    for (std::size_t k = P::terms - 1; k > 0; --k) {
        sum = hn::Add(hn::Mul(sum, r), hn::Set(d, P::of[k - 1]));
    }
    // What the shift leaves of the sum is the integer, which goes into the exponent.
    return hn::BitCast(d, hn::Add(hn::BitCast(di, sum), hn::ShiftLeft<P::mantissa>(hn::BitCast(di, shifted))));
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
