#pragma once

#include <complex>
#include <cstdint>
#include <type_traits>

#include <rix/exceptions/Exception.h>
#include <rix/image/ImageTypes.h>

namespace rix::access {

/// A list of sample types.
template <class... Ts>
struct TypeList {};

using UnsignedIntegers = TypeList<std::uint8_t, std::uint16_t, std::uint32_t>;
using SignedIntegers = TypeList<std::int8_t, std::int16_t, std::int32_t>;
using Floatings = TypeList<float, double>;
using Complexes = TypeList<std::complex<float>, std::complex<double>>;
using Integers = TypeList<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t, std::int16_t, std::int32_t>;
/// Everything that has an order.
using Reals =
    TypeList<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t, std::int16_t, std::int32_t, float, double>;
using AllTypes = TypeList<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t, std::int16_t, std::int32_t, float,
                          double, std::complex<float>, std::complex<double>>;

/// The code of a sample type.
template <class T>
struct VoxelTypeOf;
template <VoxelTypes code>
using VoxelTypeCode = std::integral_constant<VoxelTypes, code>;
template <>
struct VoxelTypeOf<std::uint8_t> : VoxelTypeCode<RIX_UINT8> {};
template <>
struct VoxelTypeOf<std::uint16_t> : VoxelTypeCode<RIX_UINT16> {};
template <>
struct VoxelTypeOf<std::uint32_t> : VoxelTypeCode<RIX_UINT32> {};
template <>
struct VoxelTypeOf<std::int8_t> : VoxelTypeCode<RIX_INT8> {};
template <>
struct VoxelTypeOf<std::int16_t> : VoxelTypeCode<RIX_INT16> {};
template <>
struct VoxelTypeOf<std::int32_t> : VoxelTypeCode<RIX_INT32> {};
template <>
struct VoxelTypeOf<float> : VoxelTypeCode<RIX_FLOAT32> {};
template <>
struct VoxelTypeOf<double> : VoxelTypeCode<RIX_FLOAT64> {};
template <>
struct VoxelTypeOf<std::complex<float>> : VoxelTypeCode<RIX_COMPLEX_FLOAT32> {};
template <>
struct VoxelTypeOf<std::complex<double>> : VoxelTypeCode<RIX_COMPLEX_FLOAT64> {};

template <class T>
inline constexpr VoxelTypes voxelTypeOf = VoxelTypeOf<T>::value;

template <class T>
inline constexpr bool isComplex = false;
template <class T>
inline constexpr bool isComplex<std::complex<T>> = true;

/// A sample type as a value, for generic lambdas.
template <class T>
struct TypeTag {
    using type = T;
};

/// True when `type` is the code of a member of the list.
template <class... Ts>
constexpr bool contains(TypeList<Ts...> /*list*/, VoxelTypes type) {
    return ((voxelTypeOf<Ts> == type) || ...);
}

/// Calls `function` with the `TypeTag` of the member of the list that has the code `type`: the one place where a type
/// known at run time becomes a type of the compiler.
/// @throws InvalidCall when the list has no such member; rules refuse such images before.
template <class... Ts, class F>
void dispatch(TypeList<Ts...> /*list*/, VoxelTypes type, F&& function) {
    const bool found = ((voxelTypeOf<Ts> == type && (function(TypeTag<Ts>{}), true)) || ...);
    if (!found) {
        throw InvalidCall("No implementation for the data type " + helper::voxelTypesToString(type) + ".");
    }
}

/// The same for a pair of types.
template <class ListA, class ListB, class F>
void dispatch(ListA listA, VoxelTypes typeA, ListB listB, VoxelTypes typeB, F&& function) {
    dispatch(listA, typeA, [&](auto tagA) { dispatch(listB, typeB, [&](auto tagB) { function(tagA, tagB); }); });
}

}  // namespace rix::access
