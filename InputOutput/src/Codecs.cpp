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
    const auto& n = info.extents;
    if (!image->reserve(info.elementType, info.voxelType, n[COLUMNS], n[ROWS], n[PLANS], n[SEQUENCE],
                        n[SPECTRAL_SERIES])) {
        throw MemoryError("There is not enough memory for the samples of the image.");
    }
    bool done = image->setInterpretation(info.interpretation) &&
                image->setColorInterpretation(info.colorInterpretation) &&
                image->setSpatialUnitName(info.spatialUnitName) && image->setSequenceUnitName(info.sequenceUnitName) &&
                image->setSpatialDirections(info.spatialDirections);
    for (int axis = RIX_COMPONENTS_FIRST; axis < RIX_COMPONENTS_SIZE; ++axis) {
        const auto component = static_cast<Components>(axis);
        const auto index = static_cast<std::size_t>(axis);
        done = done && image->setSpacingOf(component, info.spacing[index]) &&
               image->setOriginOf(component, info.origin[index]);
    }
    if (!done) {
        throw UnexpectedError("A memory image refuses a calibration.");
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
