#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace rix::filtering::rank {

/// Unsigned integers in the order of samples.
template <class T>
using KeyOf = std::conditional_t<sizeof(T) == 1, std::uint8_t,
                                 std::conditional_t<sizeof(T) == 2, std::uint16_t,
                                                    std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>>;

/// Whether samples are their own keys.
template <class T>
inline constexpr bool isOwnKey = std::is_unsigned_v<T>;

/// The key of a sample. -0 comes before +0; every NaN has the key of the quiet one without a sign, after everything.
template <class T>
constexpr KeyOf<T> keyOf(T sample) {
    using Key = KeyOf<T>;
    constexpr Key sign = static_cast<Key>(Key{1} << (8 * sizeof(T) - 1));
    if constexpr (std::is_unsigned_v<T>) {
        return sample;
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<Key>(static_cast<Key>(sample) ^ sign);
    } else {
        constexpr Key infinity = sizeof(T) == 4 ? Key{0x7f800000} : static_cast<Key>(0x7ff0000000000000ULL);
        constexpr Key quiet = infinity | infinity >> 1;
        const Key bits = std::bit_cast<Key>(sample);
        const Key key = (bits & sign) != 0 ? ~bits : bits | sign;
        return (bits & ~sign) > infinity ? (quiet & ~sign) | sign : key;
    }
}

template <class T>
constexpr T sampleOf(KeyOf<T> key) {
    using Key = KeyOf<T>;
    constexpr Key sign = static_cast<Key>(Key{1} << (8 * sizeof(T) - 1));
    if constexpr (std::is_unsigned_v<T>) {
        return key;
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(static_cast<Key>(key ^ sign));
    } else {
        return std::bit_cast<T>((key & sign) != 0 ? key & ~sign : ~key);
    }
}

}  // namespace rix::filtering::rank
