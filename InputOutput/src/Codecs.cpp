#include "Codec.h"

#include <array>

#include <rix/exceptions/Exception.h>

namespace rix::io {

std::span<const Codec* const> codecs() {
    static constexpr std::array<const Codec*, 2> table{&tiffCodec, &pngCodec};
    return table;
}

String listCodecs() {
    String text;
    for (const Codec* codec : codecs()) {
        text += text.empty() ? "" : ", ";
        text += codec->name;
        const char* separator = " (.";
        for (const char* extension : codec->extensions) {
            text += separator;
            text += extension;
            separator = ", .";
        }
        text += ')';
    }
    return text;
}

std::unique_ptr<MemoryImage> makeImage(const ImageFileInfo& info) {
    auto image = std::make_unique<MemoryImage>();
    if (!helper::applyHeader(info, *image)) {
        throw MemoryError("There is not enough memory for the samples of the image.");
    }
    return image;
}

void checkPromise(std::uint64_t decodedBytes, std::uint64_t fileBytes, std::uint64_t ratio, const String& compression) {
    // Divided, not multiplied: the product could overflow.
    if (decodedBytes / ratio + (decodedBytes % ratio != 0 ? 1 : 0) <= fileBytes) {
        return;
    }
    throw LoadingError("The header promises " + std::to_string(decodedBytes) + " bytes of samples, more than the " +
                       std::to_string(fileBytes) + " bytes of the file can hold (with " + compression + " at most " +
                       std::to_string(ratio) + " times as many).");
}

}  // namespace rix::io
