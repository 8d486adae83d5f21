#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include <rix/io/ImageFile.h>

#include "InputFile.h"
#include "OutputFile.h"

namespace rix::io {

/// One file format. To add a format is to write one file that defines a record like this, and to name the record in
/// the table of Codecs.cpp.
struct Codec {
    const char* name;
    std::span<const char* const> extensions;  ///< lower case, without the dot; the usual one first
    /// Whether a file that begins with these bytes (up to 64) is of this format.
    bool (*recognises)(std::span<const std::uint8_t> beginning);
    /// Empty when the format can hold the image under the options; else the reason as a sentence.
    String (*refusal)(const ImageModel& image, const WriteOptions& options);
    ImageFileInfo (*readInfo)(InputFile& file);
    std::unique_ptr<MemoryImage> (*read)(InputFile& file);
    /// Called only with images that `refusal` lets pass.
    void (*write)(OutputFile& file, const ImageModel& image, const WriteOptions& options);
};

extern const Codec tiffCodec;
extern const Codec pngCodec;

std::span<const Codec* const> codecs();

/// "TIFF (.tif, .tiff), PNG (.png)"
String listCodecs();

/// A fresh image with the shape, types, calibration and interpretations of `info`.
/// @throws MemoryError when it finds no memory.
std::unique_ptr<MemoryImage> makeImage(const ImageFileInfo& info);

/// Refuses samples that the file cannot hold, before anything is allocated for them.
/// @param decodedBytes what the header promises
/// @param ratio the most bytes that one byte of the file can stand for under this compression
/// @throws LoadingError
void checkPromise(std::uint64_t decodedBytes, std::uint64_t fileBytes, std::uint64_t ratio, const String& compression);

}  // namespace rix::io
