#include "RangeKernels.h"

#include <cstdint>
#include <limits>
#include <type_traits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "RangeKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::manipulation::HWY_NAMESPACE {

template <class T>
HWY_INLINE T clamped(T value, T lowest, T highest) {
    const T above = value < lowest ? lowest : value;
    return above > highest ? highest : above;
}

template <class T>
void clampSamples(const void* in, const void* bounds, void* out, std::size_t count) {
    const auto* const from = static_cast<const T*>(in);
    auto* const to = static_cast<T*>(out);
    const T lowest = static_cast<const T*>(bounds)[0];
    const T highest = static_cast<const T*>(bounds)[1];
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = clamped(from[i], lowest, highest);
    }
}

template <class T>
HWY_INLINE T inverse(T value) {
    if constexpr (std::is_unsigned_v<T>) {
        return static_cast<T>(~value);
    } else if constexpr (std::is_floating_point_v<T>) {
        return -value;
    } else {
        constexpr T lowest = std::numeric_limits<T>::min();
        constexpr T highest = std::numeric_limits<T>::max();
        const auto negative = static_cast<T>(0U - static_cast<std::make_unsigned_t<T>>(value));
        return value == lowest ? highest : negative;
    }
}

template <class T>
void invertSamples(const void* in, void* out, std::size_t count) {
    const auto* const from = static_cast<const T*>(in);
    auto* const to = static_cast<T*>(out);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = inverse(from[i]);
    }
}

template <class T>
void invertBinary(const void* in, void* out, std::size_t count) {
    const auto* const from = static_cast<const T*>(in);
    auto* const to = static_cast<T*>(out);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = from[i] == 0 ? T(1) : T(0);
    }
}

template <class T>
InvertRow inverses(bool isBinary) {
    return isBinary ? &invertBinary<T> : &invertSamples<T>;
}

template <class T>
ClampRow clamps() {
    return &clampSamples<T>;
}

/// A double as the nearest finite value.
template <class T>
HWY_INLINE T finite(double value) {
    constexpr auto largest = static_cast<double>(std::numeric_limits<T>::max());
    return static_cast<T>(clamped(value, -largest, largest));
}

/// The share of the way from the minimum to the maximum, from 0 to 1 in every rounding; both ends are met exactly.
template <class T>
void rescale(const T* in, T* out, std::size_t count, const Rescaling& rescaling) {
    const auto lowest = finite<T>(rescaling.inputMinimum);
    const auto highest = finite<T>(rescaling.inputMaximum);
    const auto first = finite<T>(rescaling.outputMinimum);
    const auto last = finite<T>(rescaling.outputMaximum);
    if (!(lowest < highest)) {
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = 0; i < count; ++i) {
            const T number = in[i] > highest ? last : first;
            out[i] = in[i] == in[i] ? number : in[i];
        }
        return;
    }
    const T half = highest / 2 - lowest / 2;
    const T scale = highest - lowest == highest - lowest + (highest - lowest) ? T(0.5) : T(1);  // of an infinite length
    const T width = scale == T(1) ? highest - lowest : half;
    const T start = lowest * scale;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        const T share = (clamped(in[i], lowest, highest) * scale - start) / width;
        out[i] = first * (T(1) - share) + last * share;
    }
}

template <class T>
RescaleRow<T> rescales() {
    return &rescale<T>;
}

}  // namespace rix::manipulation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::manipulation {

ClampRow clampRow(VoxelTypes type, OptimLevelType level) {
    ClampRow found = nullptr;
    access::dispatch(access::Reals{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        found = RIX_SELECT_KERNELS(level, clamps<T>());
    });
    return found;
}

InvertRow invertRow(VoxelTypes type, bool isBinary, OptimLevelType level) {
    InvertRow found = nullptr;
    access::dispatch(access::Reals{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        found = RIX_SELECT_KERNELS(level, inverses<T>(isBinary));
    });
    return found;
}

template <class T>
RescaleRow<T> rescaleRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rescales<T>());
}
template RescaleRow<float> rescaleRow<float>(OptimLevelType);
template RescaleRow<double> rescaleRow<double>(OptimLevelType);

}  // namespace rix::manipulation
#endif
