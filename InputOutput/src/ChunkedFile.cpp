#include <rix/io/ChunkedFile.h>

#include <algorithm>
#include <utility>

#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/settings/Settings.h>

#include "Chunks.h"
#include "Metadata.h"
#include "NamingTheFile.h"
#include "SpooledStore.h"

namespace rix::io {
namespace {

/// The format of what is there.
const Codec& codecOfPath(const std::filesystem::path& path, const ReadOptions& options) {
    if (const Codec* codec = codecOfPlace(path)) {
        return *codec;
    }
    InputFile file(path);
    return codecOf(file, options);
}

bool hasRange(const Selection& selection) {
    return std::any_of(selection.ranges.begin(), selection.ranges.end(),
                       [](const auto& range) { return range.has_value(); });
}

}  // namespace

bool isChunkedFileName(const std::filesystem::path& path) {
    const Codec* codec = findCodecOfName(path);
    return codec != nullptr && codec->chunks != nullptr && codec->chunks->create != nullptr;
}

bool canOpenImage(const std::filesystem::path& path, const ReadOptions& options) {
    if (hasRange(options.selection) || options.selection.raw) {
        return false;
    }
    try {
        const Codec& codec = codecOfPath(path, options);
        return codec.chunks != nullptr && codec.chunks->open != nullptr &&
               !(options.grey && becomesGrey(options, codec.chunks->open(path, options).info));
    } catch (const Exception&) {
        return false;
    }
}

bool isForOpening(const std::filesystem::path& path, const ReadOptions& options) {
    if (!canOpenImage(path, options)) {
        return false;
    }
    if (std::error_code error; std::filesystem::is_directory(path, error)) {
        return true;
    }
    const std::size_t cache = globalSettings().getValueAsSize_t("RIX_DISK_CACHE_SIZE", devices::Cpu::memory() / 4);
    try {
        const ImageFileInfo info = readImageInfo(path, options);
        std::size_t bytes = 0;
        const bool fits = helper::multiplyExtents(info.extents, bytes) &&
                          helper::checkedMultiply(bytes, helper::getSizeOf(info.voxelType), bytes);
        return !fits || bytes > cache;
    } catch (const Exception&) {
        return false;
    }
}

std::unique_ptr<DiskImage> openImage(const std::filesystem::path& path, const ReadOptions& options) {
    return namingTheFile(readingLevel(path), [&] {
        const Codec& codec = codecOfPath(path, options);
        if (codec.chunks == nullptr || codec.chunks->open == nullptr) {
            throw LoadingError(String(codec.name) +
                               " files do not keep images in chunks that could be read one by one.");
        }
        if (hasRange(options.selection)) {
            throw LoadingError("A part of an image is read into memory.");
        }
        ChunkedImage image = codec.chunks->open(path, options);
        applyOptions(options, image.info, false);
        if (becomesGrey(options, image.info)) {
            throw LoadingError("A grey image of one of colours is made in memory.");
        }
        return std::make_unique<DiskImage>(std::move(image.store), image.info, image.chunk);
    });
}

std::unique_ptr<DiskImage> createImage(const std::filesystem::path& path, const WriteOptions& options) {
    return namingTheFile(writingLevel(path), [&] {
        const Codec& codec = codecOfName(path);
        const auto make = [&codec, path, options](const ImageHeader& header, const Extents& chunk) {
            return namingTheFile(writingLevel(path), [&] {
                if (const String reason = refusalOf(codec, HeaderImage(header), options); !reason.empty()) {
                    throw WritingError(reason);
                }
                if (codec.chunks != nullptr && codec.chunks->create != nullptr) {
                    return codec.chunks->create(path, header, chunk, options);
                }
                return makeSpool(path, header, chunk,
                                 [path, options](const ImageModel& image) { writeImage(path, image, options); });
            });
        };
        return std::make_unique<DiskImage>(make, chunkFor(options));
    });
}

}  // namespace rix::io
