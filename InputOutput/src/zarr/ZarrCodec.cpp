// OME-Zarr: a folder of arrays whose chunks are files, with attributes that tell what the arrays are.

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

#include <rix/exceptions/Exception.h>

#include "../raw/RawSamples.h"
#include "Multiscales.h"
#include "ZarrStore.h"
#include "ZarrWriter.h"

namespace rix::io {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

constexpr std::array<const char*, 2> Extensions{"ome.zarr", "zarr"};

bool recognises(std::span<const std::uint8_t>) {
    return false;  // no file is an image of it
}

bool isAt(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error) && (isThere(path / ".zattrs") || isThere(path / ".zarray") ||
                                             isThere(path / ".zgroup") || isThere(path / "zarr.json"));
}

[[noreturn]] void refuseGroup(const fs::path& path, const json& attributes) {
    String inside;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(path, error)) {
        const String name = entry.path().filename().string();
        if (!name.starts_with('.') && inside.size() < 200 && entry.is_directory(error)) {
            inside += (inside.empty() ? "" : ", ") + escapeText(name);
        }
    }
    throw LoadingError(String("This is a Zarr group ") +
                       (attributes.contains("plate") ? "of a plate, whose images lie in its wells (.../A/1/0)."
                                                     : "without an image of its own.") +
                       (inside.empty() ? "" : " It has the folders " + inside + '.'));
}

/// An image in an array alone, or in one level of several.
ChunkedImage openArray(const fs::path& folder, ZarrArray stored, const Multiscales* multiscales, std::size_t level,
                       const std::vector<Components>& axes, const ReadOptions& options) {
    if (axes.size() != stored.shape.size()) {
        throw LoadingError("The image has " + std::to_string(axes.size()) + " axes, its array '" +
                           folder.filename().string() + "' has " + std::to_string(stored.shape.size()) + '.');
    }
    ChunkedImage image;
    image.info.format = zarrCodec.name;
    image.info.voxelType = voxelTypeOf(stored.stored);
    image.info.interpretation = stored.isBoolean ? RIX_BINARY : RIX_VALUE;
    image.info.extents = extentsOf(stored.shape, axes);
    image.chunk = extentsOf(stored.chunks, axes);
    image.info.storage = stored.compressor.name + ", chunks of ";
    for (std::size_t i = stored.chunks.size(); i-- > 0;) {
        image.info.storage += std::to_string(stored.chunks[i]) + (i > 0 ? " x " : ", ");
    }
    image.info.storage +=
        std::to_string(8 * bytesOf(stored.stored)) + " bits a sample" + (stored.bigEndian ? ", big-endian" : "");
    checkChunks(image.info.extents, image.chunk,
                std::max(bytesOf(stored.stored), helper::getSizeOf(image.info.voxelType)), options);
    if (multiscales != nullptr) {
        const Extents extents = image.info.extents;
        if (level > 0) {  // what is noted of the image is noted of the first level
            const auto first = readJson(folder.parent_path() / multiscales->levels.front().path / ".zarray");
            const auto shape = first ? parseZarrArray(*first).shape : stored.shape;
            image.info.extents = shape.size() == axes.size() ? extentsOf(shape, axes) : extents;
        }
        calibrate(*multiscales, level, image.info);
        image.info.extents = extents;
        image.info.series = multiscales->images;
        image.info.levels = multiscales->levels.size();
    }
    image.store = std::make_unique<ZarrStore>(folder, std::move(stored), axes, image.info.interpretation == RIX_BINARY);
    return image;
}

/// Where the images of a file are that a converter has made a group of, a folder for each; the folder itself elsewhere.
fs::path folderOfSeries(const fs::path& path, const json& attributes, const ReadOptions& options, std::size_t& count) {
    if (!attributes.contains("bioformats2raw.layout")) {
        return path;
    }
    count = 0;
    while (isThere(path / std::to_string(count) / ".zattrs")) {
        ++count;
    }
    if (count == 0) {
        refuseGroup(path, attributes);
    }
    checkSeries(options.selection, count);
    return path / std::to_string(options.selection.series.value_or(0));
}

ChunkedImage open(const fs::path& path, const ReadOptions& options) {
    if (isThere(path / "zarr.json")) {
        throw LoadingError("This is of version 3 of Zarr; version 2 is supported.");
    }
    const json attributes = readJson(path / ".zattrs").value_or(json::object());
    if (const auto array = readJson(path / ".zarray")) {
        checkSeries(options.selection, 1);
        checkLevel(options.selection, 1);
        ZarrArray stored = parseZarrArray(*array);
        const std::vector<Components> axes = axesOfArray(axisNames(attributes), stored.shape.size(), options);
        return openArray(path, std::move(stored), nullptr, 0, axes, options);
    }
    std::size_t series = 0;
    const fs::path folder = folderOfSeries(path, attributes, options, series);
    ReadOptions own = options;
    own.selection.series = series > 0 ? std::nullopt : options.selection.series;
    const json told = series > 0 ? readJson(folder / ".zattrs").value_or(json::object()) : attributes;
    const auto found = told.find("multiscales");
    if (found == told.end() || !found->is_array() || found->empty()) {
        refuseGroup(folder, told);
    }
    const Multiscales multiscales = parseMultiscales(told, own);
    checkLevel(options.selection, multiscales.levels.size());
    const std::size_t level = options.selection.level.value_or(0);
    const fs::path place = folder / multiscales.levels[level].path;
    const auto array = readJson(place / ".zarray");
    if (!array) {
        throw LoadingError("The array '" + escapeText(multiscales.levels[level].path) + "' of the image is missing.");
    }
    ChunkedImage image = openArray(place, parseZarrArray(*array), &multiscales, level, multiscales.axes, own);
    image.info.series = std::max(image.info.series, series);
    return image;
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    if (const String reason = refusalOfElements("OME-Zarr", image); !reason.empty()) {
        return reason;
    }
    if (options.compression == Compression::Lzw) {
        return "OME-Zarr has no LZW compression.";
    }
    std::size_t bytes = helper::getSizeOf(image.getVoxelType());
    const Extents chunk = usualChunks(helper::getExtents(image), chunkFor(options));
    for (const std::size_t extent : chunk) {
        if (!helper::checkedMultiply(bytes, extent, bytes) || bytes > LargestChunk) {
            return "OME-Zarr has chunks of at most " + std::to_string(LargestChunk) + " bytes.";
        }
    }
    return {};
}

}  // namespace

bool isLabelPath(const fs::path& path) {
    return path.parent_path().filename() == "labels" && path.parent_path().parent_path().extension() == ".zarr";
}

const ChunkedAccess zarrAccess{&isAt, &isLabelPath, &open, &createZarr};
const Codec zarrCodec{"OME-Zarr", Extensions, &recognises, &refusal, nullptr,
                      nullptr,    nullptr,    false,       false,    &zarrAccess};

}  // namespace rix::io
