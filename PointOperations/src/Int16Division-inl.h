// Division of 16-bit integers in vectors. No include guard: the file is included once for every instruction set, into
// the namespace of that pass.

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>
#include <rix/simd/Truncation-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

/// The quotients a / b in single precision before truncation, each a little too large in size.
///
/// The processor's reciprocal is good to 2^-11; one step of Newton's method makes that 2^-21. The step aims 2^-18 too
/// high, so that quotients that are integers don't fall short of them. It does no harm to others: two 16-bit integers
/// have quotients that are further than one part in 2^15.1 below the next integer.
template <class V>
HWY_INLINE V quotient(V a, V b) {
    const hn::DFromV<V> d;
    const V target = hn::Set(d, 2.0F + 0x1p-18F);
    const V r = hn::ApproximateReciprocal(b);
    return hn::Mul(a, hn::Mul(r, hn::Sub(target, hn::Mul(b, r))));
}

template <class V>
HWY_INLINE V quotientsOfInt16(V a, V b) {
    const hn::DFromV<V> d16;
    const hn::RepartitionToWide<decltype(d16)> d32;
    const hn::RebindToFloat<decltype(d32)> dReal;
    // Each integer twice, then shifted down: its sign is extended, and the order within 16 bytes is that in which
    // the results are put together again.
    const auto lower = [&](V v) HWY_ATTR {
        return hn::ConvertTo(dReal, hn::ShiftRight<16>(hn::BitCast(d32, hn::InterleaveLower(d16, v, v))));
    };
    const auto upper = [&](V v) HWY_ATTR {
        return hn::ConvertTo(dReal, hn::ShiftRight<16>(hn::BitCast(d32, hn::InterleaveUpper(d16, v, v))));
    };
    const V quotients =
        hn::ReorderDemote2To(d16, simd::HWY_NAMESPACE::truncatedVector(d32, quotient(lower(a), lower(b))),
                             simd::HWY_NAMESPACE::truncatedVector(d32, quotient(upper(a), upper(b))));
    // By -1 apart: the quotient of the most negative integer wraps to itself, and would be clamped here.
    const V zero = hn::Zero(d16);
    const V results = hn::IfThenElse(hn::Eq(b, hn::Set(d16, -1)), hn::Sub(zero, a), quotients);
    return hn::IfThenZeroElse(hn::Eq(b, zero), results);
}

template <class Operand>
HWY_INLINE hn::Vec<hn::ScalableTag<std::int16_t>> loadAsInt16(const Operand* from) {
    const hn::ScalableTag<std::int16_t> d16;
    if constexpr (sizeof(Operand) == 1) {
        return hn::PromoteTo(d16, hn::LoadU(hn::Rebind<std::uint8_t, decltype(d16)>(), from));
    } else {
        return hn::LoadU(d16, from);
    }
}

template <access::Stores stores, class Operand>
void divideInt16Row(const void* first, const void* second, void* output, std::size_t count) {
    const hn::ScalableTag<std::int16_t> d16;
    const std::size_t lanes = hn::Lanes(d16);
    const auto* const a = static_cast<const Operand*>(first);
    const auto* const b = static_cast<const Operand*>(second);
    auto* const out = static_cast<std::int16_t*>(output);
    const auto divideOne = [=](std::size_t i) HWY_ATTR {
        out[i] = ArithmeticOperatorMonoType_Divide<std::int16_t>::apply(static_cast<std::int16_t>(a[i]),
                                                                        static_cast<std::int16_t>(b[i]));
    };
    std::size_t i = 0;
    if constexpr (stores == access::Stores::Streaming) {
        for (const std::size_t head = access::samplesBeforeLine(out, sizeof(*out), count); i < head; ++i) {
            divideOne(i);
        }
    }
    for (; i + lanes <= count; i += lanes) {
        access::HWY_NAMESPACE::storeTo<stores>(quotientsOfInt16(loadAsInt16(a + i), loadAsInt16(b + i)), d16, out + i);
    }
    for (; i < count; ++i) {
        divideOne(i);
    }
}

#endif

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
