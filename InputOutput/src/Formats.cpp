// Which format a file or a name is of, and what it takes.

#include <algorithm>
#include <array>
#include <cctype>

#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

#include "Chunks.h"

namespace rix::io {

const Codec* codecOfPlace(const std::filesystem::path& path) {
    for (const Codec* codec : codecs()) {
        if (codec->chunks != nullptr && codec->chunks->isAt != nullptr && codec->chunks->isAt(path)) {
            return codec;
        }
    }
    return nullptr;
}

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

const Codec* findCodecOfName(const std::filesystem::path& path) {
    String name = (path.has_filename() ? path : path.parent_path()).filename().string();  // folders may end with '/'
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const Codec* found = nullptr;
    std::size_t longest = 0;
    for (const Codec* codec : codecs()) {
        if (codec->chunks != nullptr && codec->chunks->hasName != nullptr && codec->chunks->hasName(path)) {
            return codec;  // whatever the end of the name looks like
        }
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
    if (options.pyramid && codec.write != nullptr) {
        return String(codec.name) + " files are written without smaller copies of the image.";
    }
    return codec.refusal(image, options);
}

bool becomesGrey(const ReadOptions& options, const ImageHeader& image) {
    return options.grey && image.colorInterpretation == RGB && image.extents[SPECTRAL_SERIES] >= 3 &&
           access::contains(access::Reals{}, image.voxelType);
}

}  // namespace rix::io
