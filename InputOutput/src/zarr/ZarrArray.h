#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <rix/String.h>

#include "../StoredSamples.h"

namespace rix::io {

/// How the chunks of a Zarr array are compressed.
struct ZarrCompressor {
    enum class Kind : std::uint8_t { None, Blosc, Zlib, Zstd };

    Kind kind = Kind::None;
    int level = 5;
    String codec = "lz4";  ///< within Blosc
    int shuffle = 1;       ///< within Blosc: 0 none, 1 of bytes, 2 of bits
    String name{};         ///< for people
};

/// What the file .zarray tells of an array, version 2 of the format.
struct ZarrArray {
    std::vector<std::size_t> shape;  ///< the slowest axis first
    std::vector<std::size_t> chunks;
    StoredType stored = StoredType::UInt8;
    bool isBoolean = false;
    bool bigEndian = false;
    ZarrCompressor compressor;
    std::vector<std::uint8_t> fill;  ///< a sample of the image for chunks that are not there; empty for 0
    char separator = '.';
};

/// Whether there is something of that name that can be seen.
bool isThere(const std::filesystem::path& path);

/// Whether there is nothing of that name. A link that leads nowhere is something.
/// @throws LoadingError when that cannot be found out
bool isMissing(const std::filesystem::path& path);

/// Reads a text file of JSON; nothing when there is no such file.
/// @throws LoadingError when it is larger than 16 MiB, nested too deeply, no JSON or no object
std::optional<nlohmann::json> readJson(const std::filesystem::path& path);
/// @throws WritingError
void writeJson(const std::filesystem::path& path, const nlohmann::json& object);

/// The name of something for messages, cut where it is long.
String quoted(const nlohmann::json& value);

/// @throws LoadingError naming what is wrong or not supported
ZarrArray parseZarrArray(const nlohmann::json& object);
nlohmann::json formatZarrArray(const ZarrArray& array);

/// The bytes of a chunk of samples.
/// @param into holds just the bytes that they must be
/// @throws LoadingError when they are damaged or not as many
void decompressZarr(const ZarrCompressor& compressor, const std::vector<std::uint8_t>& from, std::uint8_t* into,
                    std::size_t bytes);
/// The most bytes that a chunk may be compressed to, and the most that one byte may stand for.
std::size_t mostCompressed(std::size_t bytes);
std::size_t ratioOf(const ZarrCompressor& compressor);
/// @throws WritingError
std::vector<std::uint8_t> compressZarr(const ZarrCompressor& compressor, const std::uint8_t* from, std::size_t bytes,
                                       std::size_t sampleBytes);

}  // namespace rix::io
