#include "ElementKernels.h"

#include <cstring>
#include <limits>

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "elements/ElementKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::morphology::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The bits of a real, ordered as a signed integer; its own inverse.
template <class Signed>
HWY_INLINE Signed turned(Signed bits) {
    constexpr auto magnitude = std::numeric_limits<Signed>::max();
    return bits ^ ((bits >> (8 * sizeof(Signed) - 1)) & magnitude);
}

/// Signed integers of the width of a key, with the order of the voxels.
template <class T, bool largest>
HWY_INLINE KeyOf<T> keyOf(std::make_signed_t<KeyOf<T>> ordered) {
    using Key = KeyOf<T>;
    using Signed = std::make_signed_t<Key>;
    const Signed way = largest ? static_cast<Signed>(~ordered) : ordered;
    if constexpr (std::is_signed_v<Key>) {
        return way;
    } else {
        return static_cast<Key>(static_cast<Key>(way) ^ static_cast<Key>(Key{1} << (8 * sizeof(Key) - 1)));
    }
}

template <class T, bool largest>
HWY_INLINE std::make_signed_t<KeyOf<T>> orderedOf(KeyOf<T> key) {
    using Key = KeyOf<T>;
    using Signed = std::make_signed_t<Key>;
    Signed way = 0;
    if constexpr (std::is_signed_v<Key>) {
        way = key;
    } else {
        way = static_cast<Signed>(static_cast<Key>(key ^ static_cast<Key>(Key{1} << (8 * sizeof(Key) - 1))));
    }
    return largest ? static_cast<Signed>(~way) : way;
}

template <class T, bool largest>
void encode(const T* voxels, KeyOf<T>* keys, std::size_t count) {
    using Key = KeyOf<T>;
    using Signed = std::make_signed_t<Key>;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        if constexpr (std::is_floating_point_v<T>) {
            Signed bits;
            std::memcpy(&bits, voxels + i, sizeof bits);
            const Key key = keyOf<T, largest>(turned(bits));
            keys[i] = voxels[i] == voxels[i] ? key : static_cast<Key>(nothing<Key> - 1);
        } else if constexpr (std::is_signed_v<T>) {
            keys[i] = keyOf<T, largest>(voxels[i]);
        } else {
            keys[i] = largest ? static_cast<Key>(~voxels[i]) : voxels[i];
        }
    }
}

template <class T, bool largest>
void decode(const KeyOf<T>* keys, T* voxels, std::size_t count) {
    using Key = KeyOf<T>;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        if constexpr (std::is_floating_point_v<T>) {
            const auto bits = turned(orderedOf<T, largest>(keys[i]));
            T voxel;
            std::memcpy(&voxel, &bits, sizeof voxel);
            constexpr T last = largest ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
            const T special = keys[i] == nothing<Key> ? last : std::numeric_limits<T>::quiet_NaN();
            voxels[i] = keys[i] >= static_cast<Key>(nothing<Key> - 1) ? special : voxel;
        } else if constexpr (std::is_signed_v<T>) {
            voxels[i] = orderedOf<T, largest>(keys[i]);
        } else {
            voxels[i] = largest ? static_cast<T>(~keys[i]) : keys[i];
        }
    }
}

/// The minima of `vectors` vectors from x on, kept in registers through all rows.
template <std::size_t vectors, class Key>
HWY_INLINE void minimumAt(const Key* const* rows, std::size_t rowCount, Key* out, std::size_t x) {
    const hn::ScalableTag<Key> d;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<decltype(d)> least[vectors];
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        least[v] = hn::LoadU(d, rows[0] + x + v * lanes);
    }
    for (std::size_t row = 1; row < rowCount; ++row) {
        const Key* const from = rows[row] + x;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            least[v] = hn::Min(least[v], hn::LoadU(d, from + v * lanes));
        }
    }
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        hn::StoreU(least[v], d, out + x + v * lanes);
    }
}

template <class Key>
void minimum(const Key* const* rows, std::size_t rowCount, Key* out, std::size_t count) {
    const std::size_t lanes = hn::Lanes(hn::ScalableTag<Key>());
    std::size_t x = 0;
    for (; x + 4 * lanes <= count; x += 4 * lanes) {
        minimumAt<4>(rows, rowCount, out, x);
    }
    for (; x + lanes <= count; x += lanes) {
        minimumAt<1>(rows, rowCount, out, x);
    }
    for (; x < count; ++x) {
        Key least = rows[0][x];
        for (std::size_t row = 1; row < rowCount; ++row) {
            least = rows[row][x] < least ? rows[row][x] : least;
        }
        out[x] = least;
    }
}

template <class T>
ElementKernels<T> kernels(Extremum extremum) {
    return extremum == Extremum::Maximum ? ElementKernels<T>{&encode<T, true>, &decode<T, true>, &minimum<KeyOf<T>>}
                                         : ElementKernels<T>{&encode<T, false>, &decode<T, false>, &minimum<KeyOf<T>>};
}

template <class T>
void subtract(const T* a, const T* b, DifferenceOf<T>* out, std::size_t count) {
    using Difference = DifferenceOf<T>;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        if constexpr (std::is_floating_point_v<T>) {
            out[i] = a[i] - b[i];
        } else {
            const auto difference =
                static_cast<Difference>(static_cast<Difference>(a[i]) - static_cast<Difference>(b[i]));
            out[i] = a[i] > b[i] ? difference : Difference{0};
        }
    }
}

template <class T>
DifferenceRow<T> subtractions() {
    return &subtract<T>;
}

}  // namespace rix::morphology::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::morphology {

template <class T>
ElementKernels<T> elementKernels(Extremum extremum, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>(extremum));
}

template <class T>
DifferenceRow<T> differenceRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, subtractions<T>());
}

#define RIX_INSTANTIATE(T)                                                  \
    template ElementKernels<T> elementKernels<T>(Extremum, OptimLevelType); \
    template DifferenceRow<T> differenceRow<T>(OptimLevelType);
RIX_INSTANTIATE(std::uint8_t)
RIX_INSTANTIATE(std::int8_t)
RIX_INSTANTIATE(std::uint16_t)
RIX_INSTANTIATE(std::int16_t)
RIX_INSTANTIATE(std::uint32_t)
RIX_INSTANTIATE(std::int32_t)
RIX_INSTANTIATE(float)
RIX_INSTANTIATE(double)
#undef RIX_INSTANTIATE

}  // namespace rix::morphology
#endif
