#pragma once

#include <bit>
#include <cstdint>
#include <memory>
#include <type_traits>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/image/ImageTypes.h>
#include <rix/properties/EnumInfo.h>

namespace rix {

struct ScalarPrivate;

/// How the value of a `Scalar` is kept.
enum ScalarType : std::int32_t { INTEGER = 0, UNSIGNED_INTEGER = 1, REAL = 2 };

/// How a real number is rounded before it is made an integer. `NEAREST` rounds halves up: -2.5 gives -2.
enum RealToIntConvertType : std::int32_t { CEIL = 0, FLOOR = 1, NEAREST = 2 };

RIX_EXPORT const EnumInfo& getInfoScalarType();

template <>
struct EnumInfoOf<ScalarType> {
    static const EnumInfo& get() { return getInfoScalarType(); }
};

/// The tag that a number of type `T` gets: signed and unsigned integers and reals each keep all their values.
template <class T>
    requires std::is_arithmetic_v<T>
inline constexpr ScalarType SCALAR_TYPE_OF = std::is_floating_point_v<T> ? REAL
                                             : std::is_signed_v<T>       ? INTEGER
                                                                         : UNSIGNED_INTEGER;

/// A number that knows whether it is a signed integer, an unsigned integer or a real, each of 64 bits.
///
/// The `get...` operations demand the matching tag; the `as...` operations convert from any.
class RIX_EXPORT Scalar {
public:
    /// The signed integer 0.
    Scalar();
    /// Keeps an integer with its sign and a real as a `double`.
    template <class T>
        requires std::is_arithmetic_v<T>
    Scalar(T value) : Scalar(SCALAR_TYPE_OF<T>, toPayload(value)) {}  // NOLINT: a number is a scalar
    Scalar(const Scalar& other);
    Scalar& operator=(const Scalar& other);
    ~Scalar();

    /// Replaces the value and its tag.
    Scalar& operator=(long value);
    Scalar& operator=(unsigned long value);
    Scalar& operator=(double value);
    template <class T>
        requires std::is_arithmetic_v<T>
    Scalar& operator=(T value) {
        assign(SCALAR_TYPE_OF<T>, toPayload(value));
        return *this;
    }

    ScalarType getType() const;

    /// The value. @throws InvalidCall when the tag is another one.
    long getIntValue() const;
    unsigned long getUIntValue() const;
    double getRealValue() const;
    /// The value in the type `T`, whose tag must match as for the operations above; narrower integers keep the low
    /// bits. @throws InvalidCall when the tag is another one.
    template <class T>
        requires std::is_arithmetic_v<T>
    T getValue() const {
        if constexpr (SCALAR_TYPE_OF<T> == REAL) {
            return static_cast<T>(getRealValue());
        } else if constexpr (SCALAR_TYPE_OF<T> == INTEGER) {
            return static_cast<T>(getIntValue());
        } else {
            return static_cast<T>(getUIntValue());
        }
    }

    float asFloat() const;
    double asDouble() const;

    /// The value as an integer. An integer keeps its low bits, without saturation, whatever `rounding` says. A real is
    /// rounded (NEAREST is the floor of the value plus one half, in double precision) and then truncated to 32 bits
    /// for the signed types up to 32 bits, to 64 bits for the others, of which the low bits are kept. A real that
    /// these 32 or 64 bits cannot hold gives their most negative integer; `asUInt64` is exact up to 2^64.
    std::int8_t asInt8(const RealToIntConvertType& rounding) const;
    std::int16_t asInt16(const RealToIntConvertType& rounding) const;
    std::int32_t asInt32(const RealToIntConvertType& rounding) const;
    std::int64_t asInt64(const RealToIntConvertType& rounding) const;
    std::uint8_t asUInt8(const RealToIntConvertType& rounding) const;
    std::uint16_t asUInt16(const RealToIntConvertType& rounding) const;
    std::uint32_t asUInt32(const RealToIntConvertType& rounding) const;
    std::uint64_t asUInt64(const RealToIntConvertType& rounding) const;

    /// Equal when tag and value are: the integer 3 does not equal the real 3, and NaN equals nothing.
    bool operator==(const Scalar& other) const;
    /// Orders values of one tag in their own type, values of different tags as `double`.
    bool operator<(const Scalar& other) const;
    bool operator<=(const Scalar& other) const;
    bool operator>(const Scalar& other) const;
    bool operator>=(const Scalar& other) const;

    /// The smallest voxel type that holds the value: 8, 16 or 32-bit integers for whole numbers from -2^31 to
    /// 2^32 - 1, else `RIX_FLOAT32` when single precision is exact, else `RIX_FLOAT64`.
    /// @param preferSigned takes the signed type where the signed and the unsigned one of a size both hold the value.
    VoxelTypes smallestContainingType(bool preferSigned) const;

private:
    Scalar(ScalarType type, std::uint64_t payload);
    void assign(ScalarType type, std::uint64_t payload);

    template <class T>
    static std::uint64_t toPayload(T value) {
        if constexpr (std::is_floating_point_v<T>) {
            return std::bit_cast<std::uint64_t>(static_cast<double>(value));
        } else if constexpr (std::is_signed_v<T>) {
            return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
        } else {
            return static_cast<std::uint64_t>(value);
        }
    }

    std::unique_ptr<ScalarPrivate> m_private;
};

}  // namespace rix
