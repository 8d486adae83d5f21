#pragma once

#include <limits>
#include <type_traits>

#include <rix/access/OrderedKeys.h>

namespace rix::filtering::rank {

using access::KeyOf;

/// Whether samples are their own keys.
template <class T>
inline constexpr bool isOwnKey = std::is_unsigned_v<T>;

/// The key of a sample. -0 comes before +0; every NaN has the key of the quiet one without a sign, after everything.
template <class T>
constexpr KeyOf<T> keyOf(T sample) {
    if constexpr (std::is_floating_point_v<T>) {
        return sample == sample ? access::keyOf(sample) : access::keyOf(std::numeric_limits<T>::quiet_NaN());
    } else {
        return access::keyOf(sample);
    }
}

template <class T>
constexpr T sampleOf(KeyOf<T> key) {
    return access::valueOfKey<T>(key);
}

}  // namespace rix::filtering::rank
