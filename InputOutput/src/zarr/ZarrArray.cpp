// The description of an array in the file .zarray.

#include "ZarrArray.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <system_error>

#include <nlohmann/json.hpp>

#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

#include "../InputFile.h"
#include "../Metadata.h"
#include "../OutputFile.h"
#include "../raw/RawSamples.h"

namespace rix::io {
namespace {

using nlohmann::json;

constexpr std::uint64_t LargestText = std::uint64_t{1} << 24U;

[[noreturn]] void refuseEntry(const char* key, const json& value, const String& accepted) {
    throw LoadingError("The array's '" + String(key) + "' is " + quoted(value) + "; " + accepted + '.');
}

const json& entryOf(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) {
        throw LoadingError("The description of the array lacks its '" + String(key) + "'.");
    }
    return *found;
}

std::vector<std::size_t> countsOf(const json& object, const char* key) {
    const json& list = entryOf(object, key);
    std::vector<std::size_t> counts;
    for (const json& count : list.is_array() ? list : json::array()) {
        if (!count.is_number_unsigned() || count.get<std::uint64_t>() == 0) {
            refuseEntry(key, list, "it has to be a list of positive numbers");
        }
        counts.push_back(count.get<std::size_t>());
    }
    if (counts.empty() || counts.size() > RIX_COMPONENTS_SIZE) {
        refuseEntry(key, list, "images have 1 to 5 axes");
    }
    return counts;
}

void readType(const json& value, ZarrArray& array) {
    const String text = value.is_string() ? value.get<String>() : String();
    const auto type = storedTypeOfLetters(std::string_view(text).substr(std::min<std::size_t>(1, text.size())));
    const bool ordered = !text.empty() && (text[0] == '<' || text[0] == '>' || text[0] == '|');
    if (!type || !ordered || (text[0] == '|' && bytesOf(*type) > 1)) {
        refuseEntry("dtype", value,
                    "supported are bool, integers, and real and complex numbers of 16 to 64 bits a part");
    }
    array.stored = *type;
    array.bigEndian = text[0] == '>';
    array.isBoolean = text[1] == 'b';
}

ZarrCompressor compressorOf(const json& value) {
    ZarrCompressor compressor;
    if (value.is_null()) {
        compressor.name = "no compression";
        return compressor;
    }
    const String id =
        value.is_object() && value.contains("id") && value["id"].is_string() ? value["id"].get<String>() : String();
    if (id == "blosc") {
        compressor.kind = ZarrCompressor::Kind::Blosc;
        const auto inside = value.find("cname");
        compressor.codec = inside != value.end() && inside->is_string() ? escapeText(inside->get<String>()) : "";
        compressor.name = "blosc" + (compressor.codec.empty() ? String() : " (" + compressor.codec + ')');
    } else if (id == "zlib" || id == "gzip") {
        compressor.kind = ZarrCompressor::Kind::Zlib;
        compressor.name = id == "zlib" ? "deflate" : "gzip";
    } else if (id == "zstd") {
        compressor.kind = ZarrCompressor::Kind::Zstd;
        compressor.name = "Zstandard";
    } else {
        refuseEntry("compressor", value, "supported are blosc, zlib, gzip, zstd and null");
    }
    return compressor;
}

/// A number as the format writes it: also "NaN", "Infinity", "-Infinity".
double numberFrom(const json& value) {
    if (value.is_number() || value.is_boolean()) {
        return value.is_boolean() ? (value.get<bool>() ? 1.0 : 0.0) : value.get<double>();
    }
    constexpr double infinity = std::numeric_limits<double>::infinity();
    if (value == "NaN") {
        return std::numeric_limits<double>::quiet_NaN();
    }
    if (value == "Infinity" || value == "-Infinity") {
        return value == "Infinity" ? infinity : -infinity;
    }
    refuseEntry("fill_value", value, "it has to be a number or null");
}

std::vector<std::uint8_t> fillOf(const json& value, VoxelTypes type) {
    std::vector<std::uint8_t> bytes;
    if (value.is_null()) {
        return bytes;
    }
    access::dispatch(access::AllTypes{}, type, [&](auto tag) {
        using Sample = typename decltype(tag)::type;
        Sample sample{};
        if constexpr (std::is_integral_v<Sample>) {
            const double number = numberFrom(value);
            if (!(number >= static_cast<double>(std::numeric_limits<Sample>::min()) &&
                  number <= static_cast<double>(std::numeric_limits<Sample>::max())) ||
                number != std::floor(number)) {
                refuseEntry("fill_value", value, "it has to be a number of the type of the image");
            }
            sample = static_cast<Sample>(number);
        } else if constexpr (std::is_floating_point_v<Sample>) {
            sample = static_cast<Sample>(numberFrom(value));
        } else {
            using Part = typename Sample::value_type;
            const bool isPair = value.is_array() && value.size() == 2;
            sample = {static_cast<Part>(numberFrom(isPair ? value[0] : value)),
                      static_cast<Part>(isPair ? numberFrom(value[1]) : 0.0)};
        }
        bytes.resize(sizeof(sample));
        std::memcpy(bytes.data(), &sample, sizeof(sample));
    });
    if (std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; })) {
        bytes.clear();
    }
    return bytes;
}

String typeText(const ZarrArray& array) {
    static constexpr std::string_view kinds = "uuuuiiiifffcc";
    const std::size_t bytes = bytesOf(array.stored);
    const char kind = array.isBoolean ? 'b' : kinds[static_cast<std::size_t>(array.stored)];
    return String(1, bytes == 1 ? '|' : array.bigEndian ? '>' : '<') + kind + std::to_string(bytes);
}

json compressorEntry(const ZarrCompressor& compressor) {
    switch (compressor.kind) {
        case ZarrCompressor::Kind::Blosc:
            return {{"id", "blosc"},
                    {"cname", compressor.codec},
                    {"clevel", compressor.level},
                    {"shuffle", compressor.shuffle},
                    {"blocksize", 0}};
        case ZarrCompressor::Kind::Zlib: return {{"id", "zlib"}, {"level", compressor.level}};
        case ZarrCompressor::Kind::Zstd: return {{"id", "zstd"}, {"level", compressor.level}};
        default: return nullptr;
    }
}

}  // namespace

String quoted(const json& value) {
    String text = value.dump(-1, ' ', true, json::error_handler_t::replace);
    constexpr std::size_t longest = 80;
    if (text.size() > longest) {
        text = text.substr(0, longest) + "...";
    }
    return text;
}

bool isThere(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

bool isMissing(const std::filesystem::path& path) {
    std::error_code error;
    const auto type = std::filesystem::symlink_status(path, error).type();
    if (type == std::filesystem::file_type::none) {
        throw LoadingError("'" + path.filename().string() + "' cannot be looked for: " + error.message() + '.');
    }
    return type == std::filesystem::file_type::not_found;
}

std::optional<json> readJson(const std::filesystem::path& path) {
    if (isMissing(path)) {
        return std::nullopt;
    }
    const String name = "'" + path.filename().string() + "'";
    InputFile file(path);
    if (file.size() > LargestText) {
        throw LoadingError("The file " + name + " is larger than 16 MiB, which no description is.");
    }
    String text(static_cast<std::size_t>(file.size()), '\0');
    text.resize(file.readAt(0, text.data(), text.size()));
    // What works on a value calls itself for what is in it: without a limit a small file would use up the stack.
    constexpr int deepest = 64;
    bool isTooDeep = false;
    const auto keep = [&](int depth, json::parse_event_t /*event*/, const json& /*value*/) {
        isTooDeep = isTooDeep || depth > deepest;
        return depth <= deepest;
    };
    json parsed = json::parse(text, keep, false);
    if (isTooDeep) {
        throw LoadingError("The file " + name + " is damaged: its lists lie in each other more than 64 times.");
    }
    if (!parsed.is_object()) {
        throw LoadingError("The file " + name + " is damaged: it is no JSON object.");
    }
    return parsed;
}

void writeJson(const std::filesystem::path& path, const json& object) {
    const String text = object.dump(4, ' ', false, json::error_handler_t::replace) + '\n';
    OutputFile file(path);
    if (!file.writeAt(0, text.data(), text.size())) {
        throw WritingError("Writing '" + path.filename().string() + "' failed: " + file.failure() + '.');
    }
    file.commit();
}

ZarrArray parseZarrArray(const json& object) {
    ZarrArray array;
    if (const json& version = entryOf(object, "zarr_format"); version != 2) {
        refuseEntry("zarr_format", version, "version 2 is supported");
    }
    array.shape = countsOf(object, "shape");
    array.chunks = countsOf(object, "chunks");
    if (array.chunks.size() != array.shape.size()) {
        refuseEntry("chunks", object["chunks"], "the array has " + std::to_string(array.shape.size()) + " axes");
    }
    readType(entryOf(object, "dtype"), array);
    if (const json& order = entryOf(object, "order"); order != "C") {
        refuseEntry("order", order, "\"C\" is supported, where the last axis is the fastest");
    }
    array.compressor = compressorOf(object.value("compressor", json()));
    if (const json filters = object.value("filters", json()); !filters.is_null() && !filters.empty()) {
        refuseEntry("filters", filters, "arrays with filters are not supported");
    }
    array.fill = fillOf(object.value("fill_value", json()), voxelTypeOf(array.stored));
    const json separator = object.value("dimension_separator", json("."));
    if (separator != "." && separator != "/") {
        refuseEntry("dimension_separator", separator, "it is \".\" or \"/\"");
    }
    array.separator = separator == "/" ? '/' : '.';
    return array;
}

json formatZarrArray(const ZarrArray& array) {
    return {{"zarr_format", 2},
            {"shape", array.shape},
            {"chunks", array.chunks},
            {"dtype", typeText(array)},
            {"order", "C"},
            {"compressor", compressorEntry(array.compressor)},
            {"filters", nullptr},
            {"fill_value", array.isBoolean ? json(false)
                           : array.stored == StoredType::ComplexFloat32 || array.stored == StoredType::ComplexFloat64
                               ? json::array({0.0, 0.0})
                           : array.stored == StoredType::Float32 || array.stored == StoredType::Float64 ? json(0.0)
                                                                                                        : json(0)},
            {"dimension_separator", String(1, array.separator)}};
}

}  // namespace rix::io
