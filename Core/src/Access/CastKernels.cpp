#include "Access/CastKernels.h"

#include <complex>
#include <cstdint>
#include <cstring>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Access/CastKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>
#include <rix/simd/Truncation-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::access::HWY_NAMESPACE {

// Plain loops that the compiler turns into the vectors of the pass, but for those that it does badly. Complex samples
// are pairs of reals here: the standard library's accessors must not be compiled inside a pass.
template <class Part>
struct Pair {
    Part real;
    Part imaginary;
};

template <class T>
inline constexpr bool isPair = false;
template <class Part>
inline constexpr bool isPair<Pair<Part>> = true;

/// A real as the integer into which reals are truncated. The value is put into range before it is converted and not
/// the result afterwards: so the loop has no branch and no conversion that could raise a flag, which the compiler would
/// have to keep from vectors.
template <class Integer, class Real>
inline Integer truncated(Real value) {
    constexpr Real lowest = static_cast<Real>(Integer{1} << (sizeof(Integer) * 8 - 2)) * Real(-2);
    return static_cast<Integer>(value > lowest - Real(1) && value < -lowest ? value : lowest);
}

/// One sample that is no pair.
template <class To, class From>
inline To castReal(From value) {
    if constexpr (std::is_same_v<From, std::uint32_t> && std::is_same_v<To, double>) {
        // Most vectors convert signed integers only: shifted by 2^31 and back, both exactly.
        return static_cast<double>(static_cast<std::int32_t>(value ^ 0x80000000u)) + 0x1p31;
    } else if constexpr (!std::is_floating_point_v<From> || std::is_floating_point_v<To>) {
        return static_cast<To>(value);
    } else if constexpr (sizeof(To) == 4 && std::is_unsigned_v<To>) {
        return static_cast<To>(truncated<std::int64_t>(value));
    } else {
        return static_cast<To>(truncated<std::int32_t>(value));
    }
}

#if HWY_TARGET <= HWY_SSE4
/// Reals into the low bits of 32-bit integers.
template <class To>
inline std::size_t truncateFloats(const float* HWY_RESTRICT from, To* HWY_RESTRICT to, std::size_t count) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<float> d;
    const hn::RebindToUnsigned<decltype(d)> dWord;
    const hn::Rebind<To, decltype(d)> dTo;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto integers =
            simd::HWY_NAMESPACE::truncatedVector(hn::RebindToSigned<decltype(d)>(), hn::LoadU(d, from + i));
        if constexpr (sizeof(To) == 4) {
            hn::StoreU(hn::BitCast(dTo, integers), dTo, to + i);
        } else {
            hn::StoreU(hn::TruncateTo(dTo, hn::BitCast(dWord, integers)), dTo, to + i);
        }
    }
    return i;
}
#endif

#if HWY_TARGET <= HWY_AVX2
/// Small integers into wider samples. Left to itself the compiler unpacks in several steps, which with AVX2 is slower
/// than without: here a load widens as far as the sample goes. SSE is better off with the unpacking. Stores of 64 bytes
/// are no faster than those of 32, and 5 % slower where the output is in the second-level cache (Sapphire Rapids).
template <class To, class From>
inline std::size_t widen(const From* HWY_RESTRICT from, To* HWY_RESTRICT to, std::size_t count) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::CappedTag<To, 32 / sizeof(To)> d;
    const hn::Rebind<From, decltype(d)> dFrom;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto narrow = hn::LoadU(dFrom, from + i);
        if constexpr (std::is_same_v<To, float>) {
            hn::StoreU(hn::ConvertTo(d, hn::PromoteTo(hn::RebindToSigned<decltype(d)>(), narrow)), d, to + i);
        } else if constexpr (std::is_same_v<To, double>) {
            hn::StoreU(hn::PromoteTo(d, hn::PromoteTo(hn::Rebind<std::int32_t, decltype(d)>(), narrow)), d, to + i);
        } else if constexpr (std::is_signed_v<From>) {
            const hn::RebindToSigned<decltype(d)> dSigned;
            hn::StoreU(hn::BitCast(d, hn::PromoteTo(dSigned, narrow)), d, to + i);
        } else {
            hn::StoreU(hn::PromoteTo(d, narrow), d, to + i);
        }
    }
    return i;
}
#endif

template <class To, class From>
inline void castReals(const From* HWY_RESTRICT from, To* HWY_RESTRICT to, std::size_t count) {
    std::size_t i = 0;
#if HWY_TARGET <= HWY_AVX2
    if constexpr (std::is_integral_v<From> && sizeof(From) < 4 && sizeof(To) > sizeof(From)) {
        i = widen(from, to, count);
    }
#endif
#if HWY_TARGET <= HWY_SSE4
    // uint32 comes from 64-bit integers.
    if constexpr (std::is_same_v<From, float> && std::is_integral_v<To> &&
                  (sizeof(To) < 4 || std::is_same_v<To, std::int32_t>)) {
        i = truncateFloats(from, to, count);
    }
#endif
    for (; i < count; ++i) {
        to[i] = castReal<To>(from[i]);
    }
}

template <class To, class From>
HWY_INLINE auto casts(const From* in) {
    return [=](std::size_t i) HWY_ATTR { return castReal<To>(in[i]); };
}

/// Kernels that differ in the types' signs only are the same where signs don't matter: fewer copies of the same code.
template <class T>
struct Bits {
    using type = T;
};
template <>
struct Bits<std::int8_t> {
    using type = std::uint8_t;
};
template <>
struct Bits<std::int16_t> {
    using type = std::uint16_t;
};
template <>
struct Bits<std::int32_t> {
    using type = std::uint32_t;
};

template <Stores stores, class To, class From>
HWY_INLINE void storeCasts(const From* from, To* to, std::size_t count) {
    if constexpr (stores == Stores::Cached) {
        castReals(from, to, count);
    } else {
        access::HWY_NAMESPACE::storeRow<stores, From>(to, count, casts<To>(from));
    }
}

template <Stores stores, class T>
void copySamples(ConstRawData from, RawData to, std::size_t count) {
    if constexpr (stores == Stores::Cached) {
        std::memcpy(to, from, count * sizeof(T));
    } else {
        const std::uint8_t* const in = from;
        access::HWY_NAMESPACE::storeRow<stores, std::uint8_t>(to, count * sizeof(T), casts<std::uint8_t>(in));
    }
}

template <Stores stores, class To, class From>
void cast(ConstRawData from, RawData to, std::size_t count) {
    storeCasts<stores>(reinterpret_cast<const From*>(from), reinterpret_cast<To*>(to), count);
}

/// Both parts of complex samples.
template <Stores stores, class To, class From>
void castPairs(ConstRawData from, RawData to, std::size_t count) {
    storeCasts<stores>(reinterpret_cast<const From*>(from), reinterpret_cast<To*>(to), 2 * count);
}

/// The real parts of complex samples.
template <class To, class Part>
HWY_INLINE auto realParts(const Part* in) {
    return [=](std::size_t i) HWY_ATTR { return castReal<To>(in[2 * i]); };
}

template <Stores stores, class To, class Part>
void castRealParts(ConstRawData from, RawData to, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, Part>(reinterpret_cast<To*>(to), count,
                                                  realParts<To>(reinterpret_cast<const Part*>(from)));
}

template <class Part, class From>
HWY_INLINE auto pairs(const From* in) {
    return [=](std::size_t i) HWY_ATTR { return Pair<Part>{castReal<Part>(in[i]), Part(0)}; };
}

template <Stores stores, class Part, class From>
void castToPairs(ConstRawData from, RawData to, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, From>(reinterpret_cast<Pair<Part>*>(to), count,
                                                  pairs<Part>(reinterpret_cast<const From*>(from)));
}

template <class From>
HWY_INLINE auto truths(const From* in) {
    return [=](std::size_t i) HWY_ATTR {
        if constexpr (isPair<From>) {
            return static_cast<std::uint8_t>((in[i].real != 0) | (in[i].imaginary != 0));
        } else {
            return static_cast<std::uint8_t>(in[i] != From(0) ? 1 : 0);
        }
    };
}

template <Stores stores, class From>
void toBinary(ConstRawData from, RawData to, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, std::uint8_t>(to, count, truths(reinterpret_cast<const From*>(from)));
}

template <Stores stores, class To, class From>
constexpr CastKernel kernelOf() {
    if constexpr (std::is_same_v<To, From>) {
        return &copySamples<stores, To>;
    } else if constexpr (isPair<From> && isPair<To>) {
        return &castPairs<stores, decltype(To::real), decltype(From::real)>;
    } else if constexpr (isPair<From>) {
        return &castRealParts<stores, To, decltype(From::real)>;
    } else if constexpr (isPair<To>) {
        return &castToPairs<stores, decltype(To::real), From>;
    } else if constexpr (std::is_integral_v<From> && std::is_integral_v<To> && sizeof(From) == sizeof(To)) {
        return &copySamples<stores, typename Bits<To>::type>;
    } else if constexpr (std::is_integral_v<From> && std::is_integral_v<To> && sizeof(From) > sizeof(To)) {
        return &cast<stores, typename Bits<To>::type, typename Bits<From>::type>;
    } else if constexpr (std::is_integral_v<From> && std::is_integral_v<To>) {
        return &cast<stores, typename Bits<To>::type, From>;
    } else if constexpr (std::is_floating_point_v<From> && sizeof(To) < 4) {
        return &cast<stores, typename Bits<To>::type, From>;
    } else {
        return &cast<stores, To, From>;
    }
}

template <Stores stores, class From>
constexpr PerVoxelType<CastKernel> castsFrom() {
    return {kernelOf<stores, std::uint8_t, From>(),  kernelOf<stores, std::uint16_t, From>(),
            kernelOf<stores, std::uint32_t, From>(), nullptr,
            kernelOf<stores, std::int8_t, From>(),   kernelOf<stores, std::int16_t, From>(),
            kernelOf<stores, std::int32_t, From>(),  nullptr,
            kernelOf<stores, float, From>(),         kernelOf<stores, double, From>(),
            kernelOf<stores, Pair<float>, From>(),   kernelOf<stores, Pair<double>, From>()};
}

template <Stores stores>
constexpr CastTable castTable = {
    castsFrom<stores, std::uint8_t>(), castsFrom<stores, std::uint16_t>(), castsFrom<stores, std::uint32_t>(),
    PerVoxelType<CastKernel>{},        castsFrom<stores, std::int8_t>(),   castsFrom<stores, std::int16_t>(),
    castsFrom<stores, std::int32_t>(), PerVoxelType<CastKernel>{},         castsFrom<stores, float>(),
    castsFrom<stores, double>(),       castsFrom<stores, Pair<float>>(),   castsFrom<stores, Pair<double>>()};

template <Stores stores>
constexpr BinaryTable binaryTable = {&toBinary<stores, std::uint8_t>,  &toBinary<stores, std::uint16_t>,
                                     &toBinary<stores, std::uint32_t>, nullptr,
                                     &toBinary<stores, std::uint8_t>,  &toBinary<stores, std::uint16_t>,
                                     &toBinary<stores, std::uint32_t>, nullptr,
                                     &toBinary<stores, float>,         &toBinary<stores, double>,
                                     &toBinary<stores, Pair<float>>,   &toBinary<stores, Pair<double>>};

constexpr CastKernels kernels(Stores stores) {
    return stores == Stores::Streaming ? CastKernels{&castTable<Stores::Streaming>, &binaryTable<Stores::Streaming>}
                                       : CastKernels{&castTable<Stores::Cached>, &binaryTable<Stores::Cached>};
}

}  // namespace rix::access::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::access {

const CastKernels& castKernels() {
    static const CastKernels best = RIX_SELECT_KERNELS(devices::Cpu::supports(VEC_AVX)   ? VEC_AVX
                                                       : devices::Cpu::supports(VEC_SSE) ? VEC_SSE
                                                                                         : SCALAR,
                                                       kernels(Stores::Cached));
    return best;
}

CastKernelsOfLevels castKernelsOfLevels(Stores stores) {
    CastKernelsOfLevels levels{{HWY_NAMESPACE::kernels(stores)}, 1};
    if (devices::Cpu::supports(VEC_SSE)) {
        levels.kernels[levels.count++] = N_SSE4::kernels(stores);
    }
    if (devices::Cpu::supports(VEC_AVX)) {
        levels.kernels[levels.count++] = N_AVX2::kernels(stores);
        if (devices::Cpu::hasAvx512()) {
            levels.kernels[levels.count++] = N_AVX3::kernels(stores);
        }
    }
    return levels;
}

}  // namespace rix::access
#endif
