#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/algorithms/OptimLevel.h>

namespace rix::morphology {

/// Voxels as keys, so that one kernel serves minima and maxima of all types: unsigned integers (of 64 bits signed ones)
/// that are ordered as the voxels are, or the other way round for maxima. Of real types -0 lies below +0 and NaN behind
/// all numbers.
template <class T>
using KeyOf = std::conditional_t<
    sizeof(T) == 1, std::uint8_t,
    std::conditional_t<sizeof(T) == 2, std::uint16_t, std::conditional_t<sizeof(T) == 4, std::uint32_t, std::int64_t>>>;

/// The key of what takes no part: no voxel has a larger one.
template <class Key>
inline constexpr Key nothing =
    static_cast<Key>(std::is_signed_v<Key> ? static_cast<Key>(~std::uint64_t{0} >> 1) : static_cast<Key>(~Key{0}));

/// Whether the order is turned around, for maxima.
enum class Extremum : bool { Minimum, Maximum };

template <class T>
struct ElementKernels {
    using Key = KeyOf<T>;

    void (*encode)(const T* voxels, Key* keys, std::size_t count);
    /// What took no part becomes the last voxel of the order.
    void (*decode)(const Key* keys, T* voxels, std::size_t count);
    /// out[x] = the least of rows[0][x], rows[1][x] ...; `out` may be one of the rows, or the same memory at a lower
    /// address. @param rowCount at least 1
    void (*minimum)(const Key* const* rows, std::size_t rowCount, Key* out, std::size_t count);
};

template <class T>
ElementKernels<T> elementKernels(Extremum extremum, OptimLevelType level);

/// The type that holds all differences of two voxels.
template <class T>
struct DifferenceType {
    using type = std::make_unsigned_t<T>;
};
template <>
struct DifferenceType<float> {
    using type = float;
};
template <>
struct DifferenceType<double> {
    using type = double;
};
template <class T>
using DifferenceOf = typename DifferenceType<T>::type;

/// out[x] = a[x] - b[x]; 0 where that is negative in an integer type.
template <class T>
using DifferenceRow = void (*)(const T* a, const T* b, DifferenceOf<T>* out, std::size_t count);
template <class T>
DifferenceRow<T> differenceRow(OptimLevelType level);

}  // namespace rix::morphology
