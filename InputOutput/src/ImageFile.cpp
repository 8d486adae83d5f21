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

#include "Codec.h"
#include "Metadata.h"
#include "SampleRows.h"
#include "raw/RawWords.h"

namespace rix::io {
namespace {

/// An image whose rows can't be had any more once the writing is to end: all codecs read rows.
class InterruptibleImage : public ImageModelProxy {
public:
    InterruptibleImage(const ImageModel& image, const std::function<bool()>& interrupted)
        : ImageModelProxy(&image, image.getVoxelType()), m_interrupt(interrupted) {}

    [[nodiscard]] bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const override {
        m_interrupt.pass(nbElement * helper::getSizeOf(getVoxelType()));
        return realImageReadOnly()->readRowAt(nbElement, buffer, firstCols, firstRows, firstPlans, firstSequence,
                                              firstSpectralSeries);
    }

private:
    mutable InterruptPoint m_interrupt;
};

const Codec& codecOf(InputFile& file, const ReadOptions& options) {
    if (options.selection.raw) {
        return rawCodec;
    }
    std::array<std::uint8_t, 64> beginning{};
    const std::size_t count = file.readAt(0, beginning.data(), beginning.size());
    for (const Codec* codec : codecs()) {
        if (codec->recognises({beginning.data(), count})) {
            return *codec;
        }
    }
    const String failure = file.failure();
    if (!failure.empty()) {
        throw LoadingError("Reading failed: " + failure + ".");
    }
    throw LoadingError("The content is of no format that is known. Known are " + listCodecs() +
                       ". A file of samples without a header needs words that tell what they are: "
                       "'a.raw[type=uint16,size=512x512x20]'.");
}

/// The format whose extension the name ends with, the longest where several fit; null for none.
const Codec* findCodecOfName(const std::filesystem::path& path) {
    String name = path.filename().string();
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const Codec* found = nullptr;
    std::size_t longest = 0;
    for (const Codec* codec : codecs()) {
        for (const std::string_view known : codec->extensions) {
            const bool ends =
                name.size() > known.size() + 1 && name.ends_with(known) && name[name.size() - known.size() - 1] == '.';
            if (ends && known.size() > longest) {
                found = codec;
                longest = known.size();
            }
        }
    }
    return found;
}

const Codec& codecOfName(const std::filesystem::path& path) {
    if (const Codec* codec = findCodecOfName(path)) {
        return *codec;
    }
    const String extension = path.extension().string();
    throw WritingError((extension.empty() ? "The name has no extension that tells the format."
                                          : "The extension '" + extension + "' stands for no format that is known.") +
                       String(" Known are ") + listCodecs() + '.');
}

String refusalOf(const Codec& codec, const ImageModel& image, const WriteOptions& options) {
    if (options.quality != 0 && !codec.hasQuality) {
        return String(codec.name) + " keeps samples as they are and has no quality to choose.";
    }
    return codec.refusal(image, options);
}

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

/// Runs `action` and adds to whatever it throws the level that names the file.
template <class Action>
auto namingTheFile(const String& level, Action&& action) {
    try {
        return action();
    } catch (Exception& exception) {
        exception.addInfoLevel(level);
        throw;
    } catch (const std::bad_alloc&) {
        MemoryError error("There is not enough memory.");
        error.addInfoLevel(level);
        throw error;
    }
}

String readingLevel(const std::filesystem::path& path) {
    return "Cannot read the image file '" + path.string() + "'.";
}

String writingLevel(const std::filesystem::path& path) {
    return "Cannot write the image file '" + path.string() + "'.";
}

/// Whether the options make a grey image of an image.
bool becomesGrey(const ReadOptions& options, const ImageHeader& image) {
    return options.grey && image.colorInterpretation == RGB && image.extents[SPECTRAL_SERIES] >= 3 &&
           access::contains(access::Reals{}, image.voxelType);
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

bool isImageFileName(const std::filesystem::path& path) {
    return findCodecOfName(path) != nullptr;
}

std::unique_ptr<MemoryImage> readImage(const std::filesystem::path& path, const ReadOptions& options) {
    return namingTheFile(readingLevel(path), [&] {
        InputFile file(path);
        auto image = codecOf(file, options).read(file, options);
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
        InputFile file(path);
        ImageFileInfo info = codecOf(file, options).readInfo(file, options);
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
        OutputFile file(path);
        codec.write(file, path, InterruptibleImage(image, options.interrupted), options);
        file.commit();
    });
}

}  // namespace rix::io
