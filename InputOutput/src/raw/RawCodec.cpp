// Samples and nothing else: what they are is told in words, beside the name of the file.

#include <algorithm>
#include <array>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "RawSamples.h"
#include "RawWords.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 1> Extensions{"raw"};

/// Nothing in the bytes tells: whoever has words for them asks for this format.
bool recognises(std::span<const std::uint8_t>) {
    return false;
}

String sizesText(const std::vector<RawAxis>& axes) {
    String text;
    for (const RawAxis& axis : axes) {
        text += (text.empty() ? "" : " ") + String(1, letterOf(axis.axis)) + '=' +
                (axis.extent ? std::to_string(*axis.extent) : "?");
    }
    return text;
}

/// Gives the axis without a number what the file has of it, and compares the size of the file with that of the samples.
void fitToFile(const InputFile& file, const ReadOptions& options, std::vector<RawAxis>& axes) {
    const RawWords& words = *options.selection.raw;
    const String told = "The selection '" + escapeText(words.text) + "' tells of ";
    std::size_t bytes = bytesOf(storedTypeNamed(words.type));
    RawAxis* open = nullptr;
    for (RawAxis& axis : axes) {
        if (!axis.extent) {
            open = &axis;
        } else if (!helper::checkedMultiply(bytes, *axis.extent, bytes)) {
            throw LoadingError(told + "more bytes of samples than 64 bits can count.");
        }
    }
    const std::uint64_t there = file.size() - std::min(file.size(), words.offset);
    const String samples = "samples of " + words.type + ", " + sizesText(axes) + ", in ";
    const String have =
        " bytes" + (words.offset == 0 ? String() : " from byte " + std::to_string(words.offset) + " on");
    if (open != nullptr) {
        if (there == 0 || there % bytes != 0) {
            throw LoadingError(told + samples + std::to_string(bytes) + " bytes for each of " + letterOf(open->axis) +
                               "; the file has " + std::to_string(there) + have + ", which is no multiple.");
        }
        open->extent = there / bytes;
    } else if (there < bytes) {
        throw LoadingError(told + samples + std::to_string(bytes) + " bytes; the file has " + std::to_string(there) +
                           have + '.');
    } else if (there > bytes) {
        warnOrRefuse(options, told + samples + std::to_string(bytes) + " bytes; the file has " + std::to_string(there) +
                                  have + ", of which the last " + std::to_string(there - bytes) + " are passed over.");
    }
}

RawLayout layoutOf(InputFile& file, const ReadOptions& options) {
    const RawWords& words = *options.selection.raw;
    std::vector<RawAxis> axes = axesOfRaw(options.selection);
    fitToFile(file, options, axes);
    RawLayout layout;
    ImageFileInfo& info = layout.info;
    info.format = "Raw";
    info.extents = {1, 1, 1, 1, 1};
    layout.axes.clear();
    for (const RawAxis& axis : axes) {
        info.extents[static_cast<std::size_t>(axis.axis)] = axis.extent.value_or(1);
        layout.axes.push_back(axis.axis);
    }
    layout.stored = storedTypeNamed(words.type);
    layout.bigEndian = words.bigEndian;
    layout.position = words.offset;
    for (std::size_t axis = 0; axis <= PLANS && !words.spacing.empty(); ++axis) {
        const bool one = words.spacing.size() == 1;
        info.spacing[axis] = one ? words.spacing[0] : axis < words.spacing.size() ? words.spacing[axis] : 1.0;
    }
    info.spatialUnitName = words.unit;
    info.interpretation = words.meaning;
    if (words.rgb) {
        const std::size_t channels = info.extents[SPECTRAL_SERIES];
        if (channels != 3 && channels != 4) {
            throw LoadingError("The selection 'color=rgb' needs 3 or 4 channels, not " + std::to_string(channels) +
                               ": size=640x480x3,axes=yxc has them beside each other, axes=cyx behind each other.");
        }
        info.colorInterpretation = RGB;
    }
    checkRaw(file, options, layout);
    return layout;
}

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    return layoutOf(file, options).info;
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    return readRaw(file, layoutOf(file, options), options);
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    if (const String reason = refusalOfRaw("Raw", image, options); !reason.empty()) {
        return reason;
    }
    if (options.compression == Compression::Deflate) {
        return "Raw files have no compression.";
    }
    return lostCalibration("Raw", untoldByWords(describe(image)), options);
}

void write(OutputFile& file, const std::filesystem::path&, const ImageModel& image, const WriteOptions&) {
    const auto sink = openSink(file, Packing::None);
    writeRaw(*sink, image, false);
    sink->finish();
}

}  // namespace

const Codec rawCodec{"Raw", Extensions, &recognises, &refusal, &readInfo, &read, &write, false};

}  // namespace rix::io
