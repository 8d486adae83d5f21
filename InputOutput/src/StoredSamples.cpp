#include "StoredSamples.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <limits>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

struct Facts {
    StoredType type;
    StoredKind kind;
    std::size_t bytes;
    VoxelTypes voxelType;
    bool converted = false;
};

constexpr std::array<Facts, 13> Table{{
    {StoredType::UInt8, StoredKind::Unsigned, 1, RIX_UINT8},
    {StoredType::UInt16, StoredKind::Unsigned, 2, RIX_UINT16},
    {StoredType::UInt32, StoredKind::Unsigned, 4, RIX_UINT32},
    {StoredType::UInt64, StoredKind::Unsigned, 8, RIX_UINT32, true},
    {StoredType::Int8, StoredKind::Signed, 1, RIX_INT8},
    {StoredType::Int16, StoredKind::Signed, 2, RIX_INT16},
    {StoredType::Int32, StoredKind::Signed, 4, RIX_INT32},
    {StoredType::Int64, StoredKind::Signed, 8, RIX_INT32, true},
    {StoredType::Float16, StoredKind::Floating, 2, RIX_FLOAT32, true},
    {StoredType::Float32, StoredKind::Floating, 4, RIX_FLOAT32},
    {StoredType::Float64, StoredKind::Floating, 8, RIX_FLOAT64},
    {StoredType::ComplexFloat32, StoredKind::Complex, 8, RIX_COMPLEX_FLOAT32},
    {StoredType::ComplexFloat64, StoredKind::Complex, 16, RIX_COMPLEX_FLOAT64},
}};

const Facts& factsOf(StoredType type) {
    return Table[static_cast<std::size_t>(type)];
}

/// The value of a half-precision number (IEEE 754 binary16), exactly; NaNs keep their payload.
float floatOfHalf(std::uint16_t half) {
    const std::uint32_t sign = (half & 0x8000U) << 16U;
    const std::uint32_t exponent = (half >> 10U) & 0x1FU;
    const std::uint32_t mantissa = half & 0x3FFU;
    if (exponent == 0) {  // zero and what lies below the normal numbers: a multiple of 2^-24
        const float magnitude = static_cast<float>(mantissa) * 0x1p-24F;
        return std::bit_cast<float>(sign | std::bit_cast<std::uint32_t>(magnitude));
    }
    const std::uint32_t widened = exponent == 31 ? 255U : exponent + 112U;
    return std::bit_cast<float>(sign | (widened << 23U) | (mantissa << 13U));
}

template <class Wide, class Narrow>
void narrow(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        Wide value = 0;
        std::memcpy(&value, from + i * sizeof(value), sizeof(value));
        const auto kept = static_cast<Narrow>(value);
        if (static_cast<Wide>(kept) != value) {
            throw LoadingError("The file holds integers of 64 bits, and among them " + std::to_string(value) +
                               ", which the largest type of an image cannot hold: integers have 32 bits, " +
                               std::to_string(std::numeric_limits<Narrow>::min()) + " to " +
                               std::to_string(std::numeric_limits<Narrow>::max()) + ".");
        }
        std::memcpy(to + i * sizeof(kept), &kept, sizeof(kept));
    }
}

}  // namespace

std::optional<StoredType> storedTypeOf(StoredKind kind, std::size_t bytes) {
    for (const Facts& facts : Table) {
        if (facts.kind == kind && facts.bytes == bytes) {
            return facts.type;
        }
    }
    return std::nullopt;
}

std::optional<StoredType> storedTypeOfLetters(std::string_view letters) {
    std::size_t bytes = 0;
    const char* const end = letters.data() + letters.size();
    if (letters.size() < 2 || std::from_chars(letters.data() + 1, end, bytes).ptr != end) {
        return std::nullopt;
    }
    switch (letters.front()) {
        case 'b': return bytes == 1 ? std::optional(StoredType::UInt8) : std::nullopt;
        case 'u': return storedTypeOf(StoredKind::Unsigned, bytes);
        case 'i': return storedTypeOf(StoredKind::Signed, bytes);
        case 'f': return storedTypeOf(StoredKind::Floating, bytes);
        case 'c': return storedTypeOf(StoredKind::Complex, bytes);
        default: return std::nullopt;
    }
}

StoredType storedTypeOf(VoxelTypes type) {
    for (const Facts& facts : Table) {
        if (facts.voxelType == type && !facts.converted) {
            return facts.type;
        }
    }
    throw UnexpectedError("No stored type is of the voxel type " + std::to_string(type) + ".");
}

StoredKind kindOf(StoredType type) {
    return factsOf(type).kind;
}

std::size_t bytesOf(StoredType type) {
    return factsOf(type).bytes;
}

VoxelTypes voxelTypeOf(StoredType type) {
    return factsOf(type).voxelType;
}

bool isConverted(StoredType type) {
    return factsOf(type).converted;
}

void swapByteOrder(StoredType type, std::uint8_t* samples, std::size_t count) {
    const bool complex = factsOf(type).kind == StoredKind::Complex;
    const std::size_t size = bytesOf(type) / (complex ? 2 : 1);
    if (size == 1) {
        return;
    }
    const std::size_t numbers = count * (complex ? 2 : 1);
    for (std::size_t i = 0; i < numbers; ++i) {
        std::reverse(samples + i * size, samples + (i + 1) * size);
    }
}

void convertSamples(StoredType type, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    switch (type) {
        case StoredType::UInt64: narrow<std::uint64_t, std::uint32_t>(from, to, count); break;
        case StoredType::Int64: narrow<std::int64_t, std::int32_t>(from, to, count); break;
        case StoredType::Float16:
            for (std::size_t i = 0; i < count; ++i) {
                std::uint16_t half = 0;
                std::memcpy(&half, from + i * sizeof(half), sizeof(half));
                const float value = floatOfHalf(half);
                std::memcpy(to + i * sizeof(value), &value, sizeof(value));
            }
            break;
        default: std::memcpy(to, from, count * bytesOf(type));
    }
}

}  // namespace rix::io
