#include "Codec.h"

#include <algorithm>
#include <array>

#include <rix/exceptions/Exception.h>
#include <rix/settings/Settings.h>

#include "Metadata.h"

namespace rix::io {

std::span<const Codec* const> codecs() {
    static constexpr std::array<const Codec*, 13> table{
        &tiffCodec, &omeTiffCodec, &pngCodec,   &nrrdCodec, &metaImageCodec, &npyCodec, &pnmCodec,
        &bmpCodec,  &jpegCodec,    &niftiCodec, &zarrCodec, &hdf5Codec,      &rawCodec};
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

namespace {

/// Formats that can rename axes have done so; of what remains, the names have to be those that the image has.
void checkSelection(const Selection& selection, const ImageFileInfo& info) {
    checkSeries(selection, info.series);
    checkLevel(selection, info.levels);
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE}) {
        const std::size_t extent = info.extents[static_cast<std::size_t>(axis)];
        const auto name = std::find_if(selection.axes.begin(), selection.axes.end(),
                                       [&](const auto& known) { return known.axis == axis; });
        const bool named = name != selection.axes.end();
        if (named && name->extent.value_or(extent) != extent) {
            throw LoadingError("The selection '" + escapeText(selection.axesText) +
                               "' does not fit the image, which has " + std::to_string(extent) + " of " +
                               letterOf(axis) + '.');
        }
        if (!selection.axes.empty() && !named && extent > 1) {
            throw LoadingError("The selection '" + escapeText(selection.axesText) + "' leaves out " + letterOf(axis) +
                               ", of which the image has " + std::to_string(extent) + '.');
        }
    }
}

}  // namespace

void checkSeries(const Selection& selection, std::size_t images) {
    if (selection.series && *selection.series >= images) {
        throw LoadingError(
            "The selection 'series=" + std::to_string(*selection.series) + "' is not in the file: it has " +
            (images == 1 ? String("one image, series=0.")
                         : std::to_string(images) + " images, series=0 to series=" + std::to_string(images - 1) + '.'));
    }
}

void checkLevel(const Selection& selection, std::size_t levels) {
    if (selection.level && *selection.level >= levels) {
        throw LoadingError(
            "The selection 'level=" + std::to_string(*selection.level) + "' is not in the file: it has " +
            (levels == 1 ? String("no smaller copies of the image, only level=0.")
                         : std::to_string(levels) + " levels, level=0 to level=" + std::to_string(levels - 1) + '.'));
    }
}

std::size_t mostBytes(const ReadOptions& options) {
    const auto bytes = static_cast<std::size_t>(options.maximumImageSize);
    return bytes != 0 ? bytes : globalSettings().getValueAsSize_t("RIX_MAXIMUM_IMAGE_SIZE", 0);
}

Part applyOptions(const ReadOptions& options, ImageFileInfo& info, bool inMemory) {
    checkSelection(options.selection, info);
    std::size_t samples = helper::getSizeOf(info.voxelType);
    for (const std::size_t extent : info.extents) {
        if (!helper::checkedMultiply(samples, extent, samples)) {
            throw LoadingError("The header promises more bytes of samples than 64 bits can count.");
        }
    }
    const Part part = takePart(options.selection, info);
    const std::size_t limit = mostBytes(options);
    std::size_t bytes = helper::getSizeOf(info.voxelType);
    for (const std::size_t extent : info.extents) {
        bytes *= extent;
    }
    if (inMemory && limit != 0 && bytes > limit) {
        throw LoadingError("The samples of the image take " + std::to_string(bytes) + " bytes of memory; at most " +
                           std::to_string(limit) + " are allowed (RIX_MAXIMUM_IMAGE_SIZE).");
    }
    if (options.calibration == Calibration::None) {
        const ImageHeader plain;
        info.spacing = plain.spacing;
        info.origin = plain.origin;
        info.spatialUnitName.clear();
        info.sequenceUnitName.clear();
        info.spatialDirections = plain.spatialDirections;
    }
    return part;
}

void warnOrRefuse(const ReadOptions& options, const String& text) {
    if (!options.warn) {
        throw LoadingError(text);
    }
    options.warn(text);
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
