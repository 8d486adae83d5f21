// How kernels take a store policy: loops that the compiler vectorises with `storeRow<stores>`, kernels that are written
// in vectors with `storeTo<stores>`. Included once a pass by files of kernels.

#if defined(RIX_ACCESS_STORES) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_ACCESS_STORES
#undef RIX_ACCESS_STORES
#else
#define RIX_ACCESS_STORES
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <rix/access/Plan.h>
#include <rix/access/StreamKernels.h>
#include <rix/simd/Loops.h>

HWY_BEFORE_NAMESPACE();
namespace rix::access::HWY_NAMESPACE {

/// @param out aligned to the vector where stores stream
template <Stores stores, class V, class D, class T>
HWY_INLINE void storeTo(V v, D d, T* out) {
    if constexpr (stores == Stores::Streaming) {
        hwy::HWY_NAMESPACE::Stream(v, d, out);
    } else {
        hwy::HWY_NAMESPACE::StoreU(v, d, out);
    }
}

/// A line of the cache, past it. The wider the stores, the more of them are under way: one to a line takes a third less
/// time than four.
/// @param to aligned to the line
HWY_INLINE void streamLine(void* to, const void* from) {
    auto* const target = static_cast<std::uint8_t*>(to);
    const auto* const source = static_cast<const std::uint8_t*>(from);
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
    const hwy::HWY_NAMESPACE::ScalableTag<std::uint8_t> d;
    for (std::size_t part = 0; part < lineBytes; part += Lanes(d)) {
        Stream(LoadU(d, source + part), d, target + part);
    }
#elif defined(__SSE2__)
    for (std::size_t part = 0; part < lineBytes; part += sizeof(__m128i)) {
        const __m128i data = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + part));
        _mm_stream_si128(reinterpret_cast<__m128i*>(target + part), data);
    }
#else
    std::memcpy(target, source, lineBytes);
#endif
}

/// `out[i] = value(i)` from `begin` to `end`. Not inlined: rows that are streamed begin and end with it.
template <class T, class F>
HWY_NOINLINE void storeCached(T* out, std::size_t begin, std::size_t end, F value) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = begin; i < end; ++i) {
        out[i] = value(i);
    }
}

/// `out[i] = value(i)` for a row. `value` may read `out[i]`, and no other sample of the row. Its type should not depend
/// on the policy: then both share the loop through the caches.
///
/// What is streamed is computed in turns that the compiler keeps in registers: as many samples as make a vector of the
/// narrowest operand a whole line, and not fewer than it makes vectors of (it unrolls shorter loops first).
/// @tparam Operand the narrowest type that `value` reads
template <Stores stores, class Operand, class T, class F>
HWY_INLINE void storeRow(T* out, std::size_t count, const F& value) {
    if constexpr (stores == Stores::Cached) {
        storeCached(out, 0, count, value);
    } else {
        constexpr std::size_t lineSamples = lineBytes / sizeof(T);
        constexpr std::size_t narrowest = sizeof(Operand) < sizeof(T) ? sizeof(Operand) : sizeof(T);
        constexpr std::size_t turn = narrowest < 2 ? lineBytes : 32;
        std::size_t i = samplesBeforeLine(out, sizeof(T), count);
        storeCached(out, 0, i, value);
        for (; i + turn <= count; i += turn) {
            alignas(lineBytes) T results[turn];
            RIX_INDEPENDENT_ITERATIONS
            for (std::size_t j = 0; j < turn; ++j) {
                results[j] = value(i + j);
            }
            for (std::size_t j = 0; j < turn; j += lineSamples) {
                streamLine(out + i + j, results + j);
            }
        }
        storeCached(out, i, count, value);
    }
}

}  // namespace rix::access::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
