#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include <rix/Export.h>
#include <rix/access/VoxelTypeLists.h>

namespace rix::access {

/// Truncates a real toward zero to a signed integer of 32 or 64 bits. What the integer cannot hold (NaN and infinities
/// included) gives the most negative integer: the answer of the processor's own instruction, made the answer of every
/// path.
template <class Integer, class Real>
constexpr Integer truncateTo(Real value) {
    constexpr Real limit = -static_cast<Real>(std::numeric_limits<Integer>::min());
    // For float and 32 bits, -limit is exact and everything in (-limit - 1, limit) truncates into range.
    return value > -limit - Real(1) && value < limit ? static_cast<Integer>(value)
                                                     : std::numeric_limits<Integer>::min();
}

/// Converts one sample; the conversion of the whole library. Rows are converted by `castSamples`, whose kernels follow
/// the same rules.
///
/// Integers keep their low bits. Reals are truncated toward zero to a signed 32-bit integer whose low bits are kept
/// (for `uint32` a signed 64-bit integer), without clamping: 300.7 becomes 44 in `uint8`, -1.5 becomes 255. Integers
/// become reals exactly or rounded by the format. Complex to real keeps the real part; real to complex sets the
/// imaginary part to 0.
template <class To, class From>
constexpr To castSample(From value) {
    if constexpr (std::is_same_v<To, From>) {
        return value;
    } else if constexpr (isComplex<From> && isComplex<To>) {
        using Part = typename To::value_type;
        return To(static_cast<Part>(value.real()), static_cast<Part>(value.imag()));
    } else if constexpr (isComplex<From>) {
        return castSample<To>(value.real());
    } else if constexpr (isComplex<To>) {
        return To(static_cast<typename To::value_type>(value), 0);
    } else if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
        if constexpr (std::is_same_v<To, std::uint32_t>) {
            return static_cast<To>(truncateTo<std::int64_t>(value));
        } else {
            return static_cast<To>(truncateTo<std::int32_t>(value));
        }
    } else {
        return static_cast<To>(value);
    }
}

/// Converts `count` samples between buffers that do not overlap, by the rules of `castSample`: whole rows at the speed
/// of the processor's widest vectors. All types are compiled once, in the library; choosing among them costs a few
/// nanoseconds.
/// @throws InvalidCall for a code that is no voxel type
RIX_EXPORT void castSamples(VoxelTypes fromType, ConstRawData from, VoxelTypes toType, RawData to, std::size_t count);

/// The same with 1 for every sample that is not zero (a complex sample is zero when both parts are, NaN is not zero)
/// and 0 for the others: how values become binary.
RIX_EXPORT void castSamplesToBinary(VoxelTypes fromType, ConstRawData from, VoxelTypes toType, RawData to,
                                    std::size_t count);

/// Makes 0 and 1 of samples where they lie, aligned for their type or not.
RIX_EXPORT void makeZeroOrOne(VoxelTypes type, RawData samples, std::size_t count);

/// Converts `count` samples from one buffer to another that does not overlap it.
template <class To, class From>
void castRow(const From* from, To* to, std::size_t count) {
    castSamples(voxelTypeOf<From>, reinterpret_cast<ConstRawData>(from), voxelTypeOf<To>, reinterpret_cast<RawData>(to),
                count);
}

/// Converts `count` samples of a type known at run time.
template <class To>
void castRowFrom(VoxelTypes fromType, ConstRawData from, To* to, std::size_t count) {
    castSamples(fromType, from, voxelTypeOf<To>, reinterpret_cast<RawData>(to), count);
}

/// Converts `count` samples to a type known at run time.
template <class From>
void castRowTo(VoxelTypes toType, const From* from, RawData to, std::size_t count) {
    castSamples(voxelTypeOf<From>, reinterpret_cast<ConstRawData>(from), toType, to, count);
}

}  // namespace rix::access
