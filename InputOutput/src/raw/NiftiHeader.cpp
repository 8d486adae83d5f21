#include "NiftiHeader.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <optional>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

constexpr std::int32_t Bytes1 = 348;
constexpr std::int32_t Bytes2 = 540;

/// The version that the size of a header tells, and whether its byte order is the other one.
std::optional<std::pair<int, bool>> versionOf(const std::uint8_t* bytes) {
    std::int32_t size = 0;
    std::memcpy(&size, bytes, sizeof(size));
    for (const bool swapped : {false, true}) {
        if (size == Bytes1 || size == Bytes2) {
            return std::pair(size == Bytes1 ? 1 : 2, swapped);
        }
        std::reverse(reinterpret_cast<std::uint8_t*>(&size), reinterpret_cast<std::uint8_t*>(&size) + sizeof(size));
    }
    return std::nullopt;
}

/// Passes the fields of a header by, in the order and with the sizes of its version, with a function object that reads
/// or writes each number: at(place, number) for the place of the field in bytes.
template <class Fields, class Header>
void visit(Fields& at, Header& header) {
    if (header.version == 1) {
        for (std::size_t i = 0; i < 8; ++i) {
            at.template as<std::int16_t>(40 + 2 * i, header.dimensions[i]);
            at.template as<float>(76 + 4 * i, header.pixelSizes[i]);
        }
        at.template as<std::int16_t>(68, header.intent);
        at.template as<std::int16_t>(70, header.type);
        at.template as<float>(108, header.position);
        at.template as<float>(112, header.slope);
        at.template as<float>(116, header.intercept);
        at.template as<std::uint8_t>(123, header.units);
        at.template as<std::int16_t>(252, header.quaternionCode);
        at.template as<std::int16_t>(254, header.affineCode);
        for (std::size_t i = 0; i < 3; ++i) {
            at.template as<float>(256 + 4 * i, header.quaternion[i]);
            at.template as<float>(268 + 4 * i, header.quaternionOffset[i]);
            for (std::size_t j = 0; j < 4; ++j) {
                at.template as<float>(280 + 16 * i + 4 * j, header.affine[i][j]);
            }
        }
        return;
    }
    at.template as<std::int16_t>(12, header.type);
    for (std::size_t i = 0; i < 8; ++i) {
        at.template as<std::int64_t>(16 + 8 * i, header.dimensions[i]);
        at.template as<double>(104 + 8 * i, header.pixelSizes[i]);
    }
    at.template as<std::int64_t>(168, header.position);
    at.template as<double>(176, header.slope);
    at.template as<double>(184, header.intercept);
    at.template as<std::int32_t>(344, header.quaternionCode);
    at.template as<std::int32_t>(348, header.affineCode);
    for (std::size_t i = 0; i < 3; ++i) {
        at.template as<double>(352 + 8 * i, header.quaternion[i]);
        at.template as<double>(376 + 8 * i, header.quaternionOffset[i]);
        for (std::size_t j = 0; j < 4; ++j) {
            at.template as<double>(400 + 32 * i + 8 * j, header.affine[i][j]);
        }
    }
    at.template as<std::int32_t>(500, header.units);
    at.template as<std::int32_t>(504, header.intent);
}

struct Reader {
    const std::uint8_t* bytes;
    bool swapped;

    template <class Stored, class Value>
    void as(std::size_t place, Value& value) const {
        Stored stored{};
        auto* copy = reinterpret_cast<std::uint8_t*>(&stored);
        std::memcpy(copy, bytes + place, sizeof(stored));
        if (swapped) {
            std::reverse(copy, copy + sizeof(stored));
        }
        if constexpr (std::is_floating_point_v<Stored> && std::is_integral_v<Value>) {
            // A place in the file that is kept as a real: not every real is one.
            if (!(stored >= 0 && stored < static_cast<Stored>(1e15))) {
                throw LoadingError("The header says that the samples begin at no byte of the file.");
            }
        }
        if constexpr (std::is_same_v<Value, std::uint64_t> && std::is_signed_v<Stored>) {
            if (stored < 0) {
                throw LoadingError("The header says that the samples begin at no byte of the file.");
            }
        }
        value = static_cast<Value>(stored);
    }
};

struct Writer {
    std::uint8_t* bytes;

    template <class Stored, class Value>
    void as(std::size_t place, const Value& value) const {
        const auto stored = static_cast<Stored>(value);
        std::memcpy(bytes + place, &stored, sizeof(stored));
    }
};

}  // namespace

bool isNiftiBeginning(const std::uint8_t* bytes, std::size_t count) {
    return count >= 8 && versionOf(bytes).has_value();
}

NiftiHeader readNiftiHeader(ByteSource& source) {
    std::vector<std::uint8_t> bytes(Bytes1);
    source.read(bytes.data(), bytes.size());
    const auto version = versionOf(bytes.data());
    if (!version) {
        throw LoadingError("What is compressed here is no NIfTI image.");
    }
    NiftiHeader header;
    header.version = version->first;
    header.bigEndian = version->second != (std::endian::native == std::endian::big);
    if (header.version == 2) {
        bytes.resize(Bytes2);
        source.read(bytes.data() + Bytes1, Bytes2 - Bytes1);
    }
    const auto* magic = reinterpret_cast<const char*>(bytes.data()) + (header.version == 1 ? 344 : 4);
    const String expected = header.version == 1 ? "1" : "2";
    const bool single = String(magic, 4) == "n+" + expected + String(1, '\0');
    header.pair = String(magic, 4) == "ni" + expected + String(1, '\0');
    if (!single && !header.pair) {
        throw LoadingError(
            "The header is that of an image of the time before NIfTI, whose orientation isn't known, or "
            "damaged.");
    }
    const Reader reader{bytes.data(), version->second};
    visit(reader, header);
    return header;
}

std::vector<std::uint8_t> formatNiftiHeader(const NiftiHeader& header) {
    std::vector<std::uint8_t> bytes(header.bytes());
    const Writer writer{bytes.data()};
    const auto size = static_cast<std::int32_t>(bytes.size());
    std::memcpy(bytes.data(), &size, sizeof(size));
    visit(writer, header);
    if (header.version == 1) {
        std::memcpy(bytes.data() + 344, "n+1", 4);
        bytes[38] = 'r';  // for readers of what came before
    } else {
        std::memcpy(bytes.data() + 4, "n+2\0\r\n\x1A\n", 8);
    }
    return bytes;
}

}  // namespace rix::io
