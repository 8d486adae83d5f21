// HDF5: data sets of arrays in a file, by libhdf5 in a component. A path names the data set behind the file,
// "cells.h5:/raw/data"; without it, a file that is written has "/data", and one that is read has to have one image.

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "Hdf5Path.h"
#include "Hdf5Store.h"

namespace rix::io {
namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 2> Extensions{"h5", "hdf5"};
constexpr std::array<std::uint8_t, 8> Magic{0x89, 'H', 'D', 'F', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t MostListed = 1000;

bool recognises(std::span<const std::uint8_t> beginning) {
    return beginning.size() >= Magic.size() && std::equal(Magic.begin(), Magic.end(), beginning.begin());
}

bool hasName(const fs::path& path) {
    return splitHdf5Path(path).has_value();
}

bool isAt(const fs::path& path) {
    const auto split = splitHdf5Path(path);
    std::error_code error;
    return split && fs::is_regular_file(split->file, error);
}

fs::path fileOf(const fs::path& path) {
    const auto split = splitHdf5Path(path);
    return split ? split->file : path;
}

/// The data sets of a file in words.
String listed(const std::vector<hdf5::Listed>& all) {
    constexpr std::size_t mostNamed = 20;
    String text;
    for (std::size_t i = 0; i < std::min(all.size(), mostNamed); ++i) {
        text += (i == 0 ? "" : ", ") + escapeText(all[i].name) + " (" + all[i].description + ")";
    }
    return text + (all.size() > mostNamed ? ", ..." : "");
}

/// The one that is meant where none is named.
String onlyDataSet(const fs::path& file) {
    const auto all = asking<LoadingError>([&] { return hdf5Component().list(file.string(), MostListed); });
    const auto isImage = [](const hdf5::Listed& one) { return one.isImage; };
    const auto images = std::count_if(all.begin(), all.end(), isImage);
    if (images == 1 && all.size() < MostListed) {
        return std::find_if(all.begin(), all.end(), isImage)->name;
    }
    throw LoadingError(all.empty() ? String("The file has no data sets.")
                                   : "The file has " + String(images == 0 ? "no" : "several") +
                                         " data sets that can be images: name one behind it, as in '" +
                                         file.filename().string() + ":/NAME'. It has " + listed(all) + '.');
}

/// Pieces of about a MiB of what lies in the file without chunks: whole rows, planes and so on.
std::vector<std::size_t> piecesOf(const hdf5::Array& array) {
    std::size_t room = std::max<std::size_t>((std::size_t{1} << 20U) / array.bytes, 1);
    std::vector<std::size_t> piece(array.shape.size(), 1);
    for (std::size_t i = array.shape.size(); i-- > 0 && room > 1;) {
        piece[i] = std::min(array.shape[i], room);
        room /= piece[i];
    }
    return piece;
}

ChunkedImage open(const fs::path& path, const ReadOptions& options) {
    checkSeries(options.selection, 1);
    checkLevel(options.selection, 1);
    const auto split = splitHdf5Path(path);
    const fs::path file = split ? split->file : path;
    static_cast<void>(InputFile(file));  // what it says of a file that cannot be read is clearer
    const String name = split ? split->dataSet : onlyDataSet(file);
    auto source = asking<LoadingError>([&] { return hdf5Component().open(file.string(), name); });
    const hdf5::Array array = source->array();
    if (array.shape.empty() || array.shape.size() > RIX_COMPONENTS_SIZE) {
        throw LoadingError("The data set '" + escapeText(name) + "' has " + std::to_string(array.shape.size()) +
                           " axes; images have 1 to 5.");
    }
    std::vector<Components> axes = axesOfArray(axisNames(source->notes()), array.shape.size(), options);
    std::vector<std::size_t> chunk = array.chunks.empty() ? piecesOf(array) : array.chunks;
    for (std::size_t i = 0; i < chunk.size(); ++i) {
        if (chunk[i] == 0 || array.shape[i] == 0) {
            throw LoadingError("The data set '" + escapeText(name) + "' is empty.");
        }
        chunk[i] = std::min(chunk[i], array.shape[i]);
    }
    ChunkedImage image;
    const StoredType stored = storedTypeOf(array);
    image.info.format = hdf5Codec.name;
    image.info.voxelType = voxelTypeOf(stored);
    image.info.interpretation = array.isBoolean ? RIX_BINARY : RIX_VALUE;
    image.info.extents = extentsOf(array.shape, axes);
    image.chunk = extentsOf(chunk, axes);
    image.info.storage = array.storage;
    for (std::size_t i = chunk.size(); !array.chunks.empty() && i-- > 0;) {
        image.info.storage += (i + 1 == chunk.size() ? ", chunks of " : " x ") + std::to_string(chunk[i]);
    }
    image.info.storage += ", " + std::to_string(8 * array.bytes) + " bits a sample";
    checkChunks(image.info.extents, image.chunk, std::max(array.bytes, helper::getSizeOf(image.info.voxelType)),
                options);
    applyNotes(source->notes(), axes, image.info);
    if (image.info.voxelType >= RIX_FLOAT32 && image.info.interpretation == RIX_LABEL) {
        image.info.interpretation = RIX_VALUE;
    }
    const bool makesBinary = image.info.interpretation == RIX_BINARY;
    image.store = std::make_unique<Hdf5Chunks>(
        std::move(source), Hdf5Layout(array.shape, chunk, std::move(axes), stored), image.info.voxelType, makesBinary);
    return image;
}

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    ImageFileInfo info = open(file.path(), options).info;
    info.fileBytes = file.size();
    return info;
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    ChunkedImage image = open(file.path(), options);
    return readChunks(image, options);
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    if (const String reason = refusalOfElements("HDF5", image); !reason.empty()) {
        return reason;
    }
    if (options.compression == Compression::Lzw || options.compression == Compression::Zstd) {
        return "HDF5 files are written without compression or with deflate.";
    }
    if (options.pyramid) {
        return "HDF5 files are written without smaller copies of the image.";
    }
    return {};
}

}  // namespace

std::optional<Hdf5Path> splitHdf5Path(const fs::path& path) {
    const String text = path.string();
    for (const char* end : {".h5:", ".hdf5:"}) {
        const std::size_t found = text.find(end);
        if (found == String::npos || found == 0) {
            continue;
        }
        const std::size_t colon = found + String(end).size() - 1;
        const String name = text.substr(colon + 1);
        return Hdf5Path{text.substr(0, colon), name.starts_with('/') ? name : '/' + name};
    }
    return std::nullopt;
}

const ChunkedAccess hdf5Access{&isAt, &hasName, &open, &createHdf5, &fileOf};
const Codec hdf5Codec{"HDF5", Extensions, &recognises, &refusal, &readInfo, &read, nullptr, false, false, &hdf5Access};

}  // namespace rix::io
