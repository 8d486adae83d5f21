#include <rix/access/RoundingKernels.h>

#include <cstdint>
#include <limits>
#include <type_traits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Access/RoundingKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::access::HWY_NAMESPACE {

/// Plain arithmetic that the compiler vectorises with every instruction set: the sum with 1.5 times the power of two
/// above which reals are integers rounds, and has the integer in its low bits.
template <class Out, class Real>
HWY_INLINE Out rounded(Real value) {
    if constexpr (std::is_floating_point_v<Out>) {
        return static_cast<Out>(value);
    } else if constexpr (sizeof(Out) == 4 && sizeof(Real) == 4) {
        return rounded<Out>(static_cast<double>(value));
    } else {
        constexpr auto lowest = static_cast<Real>(std::numeric_limits<Out>::min());
        constexpr auto highest = static_cast<Real>(std::numeric_limits<Out>::max());
        constexpr auto shift = sizeof(Real) == 4 ? Real(0x1.8p23) : static_cast<Real>(0x1.8p52);
        using Bits = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;
        const Real number = value == value ? value : Real(0);
        const Real above = number < lowest ? lowest : number;
        const Real within = above > highest ? highest : above;
        return static_cast<Out>(__builtin_bit_cast(Bits, within + shift));
    }
}

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

/// The same in vectors, of what fills them: of the choices above the compiler makes masks that cost more than the rest.
/// @return how many were rounded
template <class Out>
std::size_t roundVectors(const float* from, Out* to, std::size_t count) {
    namespace hn = hwy::HWY_NAMESPACE;
    using Bits = std::conditional_t<sizeof(Out) == 1, std::uint8_t, std::uint16_t>;
    const hn::ScalableTag<float> d;
    const hn::RebindToUnsigned<decltype(d)> d32;
    const hn::Rebind<Bits, decltype(d)> narrow;
    const auto lowest = hn::Set(d, static_cast<float>(std::numeric_limits<Out>::min()));
    const auto highest = hn::Set(d, static_cast<float>(std::numeric_limits<Out>::max()));
    const auto shift = hn::Set(d, 0x1.8p23F);
    const std::size_t lanes = hn::Lanes(d);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto value = hn::LoadU(d, from + i);
        const auto number = hn::IfThenElseZero(hn::Eq(value, value), value);
        const auto within = hn::Min(hn::Max(number, lowest), highest);
        hn::StoreU(hn::TruncateTo(narrow, hn::BitCast(d32, hn::Add(within, shift))), narrow,
                   reinterpret_cast<Bits*>(to) + i);
    }
    return i;
}

#endif

template <class Real, class Out>
void roundRow(const void* reals, void* samples, std::size_t count) {
    const auto* const from = static_cast<const Real*>(reals);
    auto* const to = static_cast<Out*>(samples);
    std::size_t done = 0;
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
    if constexpr (std::is_integral_v<Out> && sizeof(Out) <= 2 && sizeof(Real) == 4) {
        done = roundVectors(from, to, count);
    }
#endif
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = done; i < count; ++i) {
        to[i] = rounded<Out>(from[i]);
    }
}

template <class Real, class Out>
RoundingRow row(Out /*type*/) {
    return &roundRow<Real, Out>;
}

}  // namespace rix::access::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::access {

RoundingRow roundingRow(VoxelTypes from, VoxelTypes to, OptimLevelType level) {
    RoundingRow found = nullptr;
    dispatch(Floatings{}, from, Reals{}, to, [&](auto fromTag, auto toTag) {
        using Real = typename decltype(fromTag)::type;
        using Out = typename decltype(toTag)::type;
        found = RIX_SELECT_KERNELS(level, row<Real>(Out()));
    });
    return found;
}

}  // namespace rix::access
#endif
