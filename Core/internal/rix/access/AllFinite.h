#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace rix::access {

/// Whether no sample of a row is NaN or infinite.
template <class T>
bool allFinite(const T* samples, std::size_t count) {
    if constexpr (std::is_floating_point_v<T>) {
        // Where all bits of the exponent are set, one more runs over into the sign. Plain integers, which the compiler
        // makes vectors of.
        using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
        constexpr Bits sign = Bits{1} << (8 * sizeof(T) - 1);
        constexpr Bits one = Bits{1} << (std::numeric_limits<T>::digits - 1);
        Bits carries = 0;
        for (std::size_t i = 0; i < count; ++i) {
            carries |= (std::bit_cast<Bits>(samples[i]) & ~sign) + one;
        }
        return (carries & sign) == 0;
    }
    return true;
}

}  // namespace rix::access
