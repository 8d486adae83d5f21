#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace rix::access {

template <std::size_t bytes>
struct UnsignedOfBytes;
template <>
struct UnsignedOfBytes<1> {
    using Type = std::uint8_t;
};
template <>
struct UnsignedOfBytes<2> {
    using Type = std::uint16_t;
};
template <>
struct UnsignedOfBytes<4> {
    using Type = std::uint32_t;
};
template <>
struct UnsignedOfBytes<8> {
    using Type = std::uint64_t;
};

template <class T>
using KeyOf = typename UnsignedOfBytes<sizeof(T)>::Type;

/// Unsigned integers in the order of the values, -0 below +0. NaN lies beyond the infinities.
template <class T>
constexpr KeyOf<T> keyOf(T value) {
    using Key = KeyOf<T>;
    constexpr Key sign = static_cast<Key>(Key{1} << (8 * sizeof(Key) - 1));
    if constexpr (std::is_unsigned_v<T>) {
        return value;
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<Key>(static_cast<Key>(value) ^ sign);
    } else {
        const Key bits = std::bit_cast<Key>(value);
        const auto allOfNegative =
            static_cast<Key>(static_cast<std::make_signed_t<Key>>(bits) >> (8 * sizeof(Key) - 1));
        return bits ^ (allOfNegative | sign);
    }
}

/// The value of a key.
template <class T>
constexpr T valueOfKey(KeyOf<T> key) {
    using Key = KeyOf<T>;
    constexpr Key sign = static_cast<Key>(Key{1} << (8 * sizeof(Key) - 1));
    if constexpr (std::is_unsigned_v<T>) {
        return key;
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(key ^ sign);
    } else {
        return std::bit_cast<T>((key & sign) != 0 ? key ^ sign : ~key);
    }
}

}  // namespace rix::access
