#include <rix/properties/Scalar.h>

#include <cmath>
#include <functional>
#include <string>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/properties/RealToInt.h>

namespace rix {

struct ScalarPrivate {
    ScalarType type = INTEGER;
    std::uint64_t payload = 0;

    std::int64_t integer() const { return static_cast<std::int64_t>(payload); }
    double real() const { return std::bit_cast<double>(payload); }

    void require(ScalarType expected) const {
        if (type != expected) {
            throw InvalidCall("The Scalar isn't of " + getInfoScalarType().getLabelFromValue(expected) + " type.");
        }
    }
};

namespace {

double roundReal(double value, RealToIntConvertType rounding) {
    switch (rounding) {
        case CEIL: return std::ceil(value);
        case FLOOR: return std::floor(value);
        case NEAREST: return std::floor(value + 0.5);
    }
    throw InvalidCall("There is no RealToIntConvertType " + std::to_string(static_cast<int>(rounding)));
}

template <class T>
T toInteger(const ScalarPrivate& scalar, RealToIntConvertType rounding) {
    if (scalar.type != REAL) {
        return static_cast<T>(scalar.payload);
    }
    const double value = roundReal(scalar.real(), rounding);
    if constexpr (std::is_signed_v<T> && sizeof(T) <= sizeof(std::int32_t)) {
        return static_cast<T>(helper::truncateToInt32(value));
    } else if constexpr (std::is_same_v<T, std::uint64_t>) {
        // The upper half of the range does not fit the signed intermediate and is exact all the same.
        if (value >= 0x1p63 && value < 0x1p64) {
            return static_cast<std::uint64_t>(value);
        }
    }
    return static_cast<T>(helper::truncateToInt64(value));
}

template <class T>
T toReal(const ScalarPrivate& scalar) {
    switch (scalar.type) {
        case INTEGER: return static_cast<T>(scalar.integer());
        case UNSIGNED_INTEGER: return static_cast<T>(scalar.payload);
        case REAL: break;
    }
    return static_cast<T>(scalar.real());
}

template <class Compare>
bool compareOrder(const ScalarPrivate& a, const ScalarPrivate& b, Compare compare) {
    if (a.type == b.type && a.type == INTEGER) {
        return compare(a.integer(), b.integer());
    }
    if (a.type == b.type && a.type == UNSIGNED_INTEGER) {
        return compare(a.payload, b.payload);
    }
    return compare(toReal<double>(a), toReal<double>(b));
}

template <class T, class Source>
bool fits(Source value) {
    return std::in_range<T>(value);
}

VoxelTypes smallestUnsigned(std::uint64_t value, bool preferSigned) {
    if (!fits<std::uint8_t>(value)) {
        if (!fits<std::uint16_t>(value)) {
            return preferSigned && fits<std::int32_t>(value) ? RIX_INT32 : RIX_UINT32;
        }
        return preferSigned && fits<std::int16_t>(value) ? RIX_INT16 : RIX_UINT16;
    }
    return preferSigned && fits<std::int8_t>(value) ? RIX_INT8 : RIX_UINT8;
}

VoxelTypes smallestSigned(std::int64_t value) {
    if (!fits<std::int16_t>(value)) {
        return RIX_INT32;
    }
    return fits<std::int8_t>(value) ? RIX_INT8 : RIX_INT16;
}

/// For what no integer voxel holds.
VoxelTypes smallestReal(double value) {
    return value == static_cast<double>(static_cast<float>(value)) ? RIX_FLOAT32 : RIX_FLOAT64;
}

}  // namespace

const EnumInfo& getInfoScalarType() {
    static const EnumInfo info("ScalarType", "INTEGER = 0, UNSIGNED_INTEGER, REAL");
    return info;
}

Scalar::Scalar() : m_private(std::make_unique<ScalarPrivate>()) {}

Scalar::Scalar(ScalarType type, std::uint64_t payload)
    : m_private(std::make_unique<ScalarPrivate>(ScalarPrivate{type, payload})) {}

Scalar::Scalar(const Scalar& other) : m_private(std::make_unique<ScalarPrivate>(*other.m_private)) {}

Scalar& Scalar::operator=(const Scalar& other) {
    *m_private = *other.m_private;
    return *this;
}

Scalar::~Scalar() = default;

void Scalar::assign(ScalarType type, std::uint64_t payload) {
    *m_private = {type, payload};
}

Scalar& Scalar::operator=(long value) {
    assign(INTEGER, toPayload(value));
    return *this;
}

Scalar& Scalar::operator=(unsigned long value) {
    assign(UNSIGNED_INTEGER, value);
    return *this;
}

Scalar& Scalar::operator=(double value) {
    assign(REAL, toPayload(value));
    return *this;
}

ScalarType Scalar::getType() const {
    return m_private->type;
}

long Scalar::getIntValue() const {
    m_private->require(INTEGER);
    return m_private->integer();
}

unsigned long Scalar::getUIntValue() const {
    m_private->require(UNSIGNED_INTEGER);
    return m_private->payload;
}

double Scalar::getRealValue() const {
    m_private->require(REAL);
    return m_private->real();
}

float Scalar::asFloat() const {
    return toReal<float>(*m_private);
}

double Scalar::asDouble() const {
    return toReal<double>(*m_private);
}

std::int8_t Scalar::asInt8(const RealToIntConvertType& rounding) const {
    return toInteger<std::int8_t>(*m_private, rounding);
}

std::int16_t Scalar::asInt16(const RealToIntConvertType& rounding) const {
    return toInteger<std::int16_t>(*m_private, rounding);
}

std::int32_t Scalar::asInt32(const RealToIntConvertType& rounding) const {
    return toInteger<std::int32_t>(*m_private, rounding);
}

std::int64_t Scalar::asInt64(const RealToIntConvertType& rounding) const {
    return toInteger<std::int64_t>(*m_private, rounding);
}

std::uint8_t Scalar::asUInt8(const RealToIntConvertType& rounding) const {
    return toInteger<std::uint8_t>(*m_private, rounding);
}

std::uint16_t Scalar::asUInt16(const RealToIntConvertType& rounding) const {
    return toInteger<std::uint16_t>(*m_private, rounding);
}

std::uint32_t Scalar::asUInt32(const RealToIntConvertType& rounding) const {
    return toInteger<std::uint32_t>(*m_private, rounding);
}

std::uint64_t Scalar::asUInt64(const RealToIntConvertType& rounding) const {
    return toInteger<std::uint64_t>(*m_private, rounding);
}

bool Scalar::operator==(const Scalar& other) const {
    return getType() == other.getType() && compareOrder(*m_private, *other.m_private, std::equal_to<>());
}

bool Scalar::operator<(const Scalar& other) const {
    return compareOrder(*m_private, *other.m_private, std::less<>());
}

bool Scalar::operator<=(const Scalar& other) const {
    return compareOrder(*m_private, *other.m_private, std::less_equal<>());
}

bool Scalar::operator>(const Scalar& other) const {
    return compareOrder(*m_private, *other.m_private, std::greater<>());
}

bool Scalar::operator>=(const Scalar& other) const {
    return compareOrder(*m_private, *other.m_private, std::greater_equal<>());
}

VoxelTypes Scalar::smallestContainingType(bool preferSigned) const {
    switch (getType()) {
        case REAL: {
            const double value = asDouble();
            if (const std::int32_t integer = asInt32(NEAREST); value == integer) {
                return Scalar(integer).smallestContainingType(preferSigned);
            }
            if (const std::uint32_t integer = asUInt32(NEAREST); value == integer) {
                return smallestUnsigned(integer, preferSigned);
            }
            return smallestReal(value);
        }
        case INTEGER: {
            const std::int64_t value = asInt64(NEAREST);
            if (fits<std::uint32_t>(value)) {
                return smallestUnsigned(static_cast<std::uint64_t>(value), preferSigned);
            }
            // Beyond the integers of voxels the question is which real type holds the nearest double.
            return fits<std::int32_t>(value) ? smallestSigned(value) : smallestReal(static_cast<double>(value));
        }
        case UNSIGNED_INTEGER: {
            const std::uint64_t value = asUInt64(NEAREST);
            return fits<std::uint32_t>(value) ? smallestUnsigned(value, preferSigned)
                                              : smallestReal(static_cast<double>(value));
        }
    }
    throw InvalidCall("Error in smallestContainingType function : unsupported case.");
}

}  // namespace rix
