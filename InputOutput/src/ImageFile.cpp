#include <rix/io/ImageFile.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <new>
#include <utility>
#include <vector>

#include <rix/access/ImageModelProxy.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>
#include <rix/filtering/color/ConvertColorSpace.h>
#include <rix/image/ImageModelSizeProxy.h>

#include "Chunks.h"
#include "InterruptibleImage.h"
#include "Metadata.h"
#include "NamingTheFile.h"
#include "SampleRows.h"
#include "raw/RawWords.h"

namespace rix::io {
namespace {

void refuseWhatDoesNotFit(const Codec& codec, const ImageModel& image, const WriteOptions& options) {
    const String reason = refusalOf(codec, image, options);
    if (reason.empty()) {
        return;
    }
    std::vector<String> others;
    for (const Codec* other : codecs()) {
        const bool proposed = options.quality == 0 ? other->proposed : other->hasQuality;
        if (proposed && refusalOf(*other, image, options).empty()) {
            others.emplace_back(other->name);
        }
    }
    String list;
    for (std::size_t i = 0; i < others.size(); ++i) {
        list += (i == 0 ? " It can be written as " : i + 1 == others.size() ? " or " : ", ") + others[i];
    }
    throw WritingError(reason + (list.empty() ? String(" No other format can hold it.") : list + '.'));
}

std::unique_ptr<MemoryImage> greyOf(const MemoryImage& image) {
    using filtering::color::ConvertColorSpace;
    auto extents = helper::getExtents(image);
    extents[SPECTRAL_SERIES] = 3;  // opacity is left out
    const ImageModelSizeProxy colors(&image, std::vector<std::size_t>(extents.size(), 0),
                                     std::vector<std::size_t>(extents.begin(), extents.end()));
    auto grey = std::make_unique<MemoryImage>();
    ConvertColorSpace convert;
    convert.setInputImage(&colors);
    convert.setOutputType(ConvertColorSpace::SAME_AS_INPUT);
    convert.setOutputImage(grey.get());
    convert.run();
    return grey;
}

std::unique_ptr<MemoryImage> readWith(const std::filesystem::path& path, const ReadOptions& options) {
    if (const Codec* codec = codecOfPlace(path)) {
        ChunkedImage image = codec->chunks->open(path, options);
        return readChunks(image, options);
    }
    InputFile file(path);
    return codecOf(file, options).read(file, options);
}

ImageFileInfo readInfoOf(const std::filesystem::path& path, const ReadOptions& options) {
    if (const Codec* codec = codecOfPlace(path)) {
        ImageFileInfo info = codec->chunks->open(path, options).info;
        std::error_code error;
        if (codec->chunks->fileOf != nullptr) {
            info.fileBytes = std::filesystem::file_size(codec->chunks->fileOf(path), error);
            return info;
        }
        using Entries = std::filesystem::recursive_directory_iterator;
        for (auto entry = Entries(path, error); !error && entry != Entries(); entry.increment(error)) {
            const std::uint64_t bytes = entry->is_regular_file(error) ? entry->file_size(error) : 0;
            info.fileBytes += error ? 0 : bytes;
        }
        return info;
    }
    InputFile file(path);
    return codecOf(file, options).readInfo(file, options);
}

}  // namespace

const std::vector<NamedCompression>& getCompressions() {
    static const std::vector<NamedCompression> all{{"none", Compression::None},
                                                   {"deflate", Compression::Deflate},
                                                   {"lzw", Compression::Lzw},
                                                   {"zstd", Compression::Zstd}};
    return all;
}

std::vector<ImageFormat> getImageFormats() {
    std::vector<ImageFormat> formats;
    for (const Codec* codec : codecs()) {
        formats.push_back({codec->name, {codec->extensions.begin(), codec->extensions.end()}});
    }
    return formats;
}

std::filesystem::path fileOfImage(const std::filesystem::path& path) {
    const Codec* const codec = findCodecOfName(path);
    return codec != nullptr && codec->chunks != nullptr && codec->chunks->fileOf != nullptr
               ? codec->chunks->fileOf(path)
               : path;
}

bool isImageFileName(const std::filesystem::path& path) {
    return findCodecOfName(path) != nullptr;
}

std::unique_ptr<MemoryImage> readImage(const std::filesystem::path& path, const ReadOptions& options) {
    return namingTheFile(readingLevel(path), [&] {
        auto image = readWith(path, options);
        std::size_t count = 0;
        // A file may say binary of other values.
        if (image->getInterpretation() == RIX_BINARY && helper::getElementCount(*image, count)) {
            access::makeZeroOrOne(image->getVoxelType(), image->getInternalBuffer(), count);
        }
        return becomesGrey(options, helper::headerOf(*image)) ? greyOf(*image) : std::move(image);
    });
}

ImageFileInfo readImageInfo(const std::filesystem::path& path, const ReadOptions& options) {
    return namingTheFile(readingLevel(path), [&] {
        ImageFileInfo info = readInfoOf(path, options);
        applyOptions(options, info);
        if (becomesGrey(options, info)) {
            info.extents[SPECTRAL_SERIES] = 1;
            info.colorInterpretation = UNKNOWN;
            info.interpretation = RIX_VALUE;
        }
        return info;
    });
}

void checkImageFits(const std::filesystem::path& path, const ImageModel& image, const WriteOptions& options) {
    namingTheFile(writingLevel(path), [&] { refuseWhatDoesNotFit(codecOfName(path), image, options); });
}

String neededSelection(const std::filesystem::path& path, const ImageModel& image) {
    return findCodecOfName(path) == &rawCodec ? wordsOfRaw(describe(image)) : String();
}

void writeImage(const std::filesystem::path& path, const ImageModel& image, const WriteOptions& options) {
    namingTheFile(writingLevel(path), [&] {
        const Codec& codec = codecOfName(path);
        refuseWhatDoesNotFit(codec, image, options);
        const InterruptibleImage interruptible(image, options.interrupted);
        if (codec.write == nullptr) {
            const Extents chunk = usualChunks(helper::getExtents(image), chunkFor(options));
            writeChunks(*codec.chunks->create(path, helper::headerOf(image), chunk, options), chunk, interruptible);
            return;
        }
        OutputFile file(path);
        codec.write(file, path, interruptible, options);
        file.commit();
    });
}

}  // namespace rix::io
