#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include <rix/image/InterruptPoint.h>
#include <rix/io/ImageFile.h>

#include "InputFile.h"
#include "OutputFile.h"
#include "Part.h"

namespace rix::io {

using helper::InterruptPoint;

struct ChunkedAccess;

/// One file format. To add a format is to write one file that defines a record like this, and to name the record in
/// the table of Codecs.cpp.
/// A format whose images are folders has no functions for files; what they do, its access to chunks does.
struct Codec {
    const char* name;
    std::span<const char* const> extensions;  ///< lower case, without the dot; the usual one first
    /// Whether a file that begins with these bytes (up to 64) is of this format.
    bool (*recognises)(std::span<const std::uint8_t> beginning);
    /// Empty when the format can hold the image under the options; else the reason as a sentence.
    String (*refusal)(const ImageModel& image, const WriteOptions& options);
    ImageFileInfo (*readInfo)(InputFile& file, const ReadOptions& options);
    std::unique_ptr<MemoryImage> (*read)(InputFile& file, const ReadOptions& options);
    /// Called only with images that `refusal` lets pass.
    /// @param path the name that the file gets, for formats of two files
    void (*write)(OutputFile& file, const std::filesystem::path& path, const ImageModel& image,
                  const WriteOptions& options);
    /// Whether it is proposed for an image that another format cannot hold: it keeps samples, and what reads it.
    bool proposed = true;
    bool hasQuality = false;
    const ChunkedAccess* chunks = nullptr;
};

extern const Codec tiffCodec;
extern const Codec omeTiffCodec;
extern const Codec pngCodec;
extern const Codec npyCodec;
extern const Codec nrrdCodec;
extern const Codec metaImageCodec;
extern const Codec niftiCodec;
extern const Codec pnmCodec;
extern const Codec bmpCodec;
extern const Codec jpegCodec;
extern const Codec rawCodec;
extern const Codec zarrCodec;
extern const Codec hdf5Codec;

std::span<const Codec* const> codecs();

/// "TIFF (.tif, .tiff), PNG (.png)"
String listCodecs();

/// Refuses the number of an image that is not among the images of a file. @throws LoadingError
void checkSeries(const Selection& selection, std::size_t images);

/// Refuses the number of a level that the pyramid of a file does not have. @throws LoadingError
void checkLevel(const Selection& selection, std::size_t levels);
/// The bytes that samples may take in memory, by the options or the setting; 0 for any number.
std::size_t mostBytes(const ReadOptions& options);

/// The format that has an image at a path that is no file: a folder, or a place within a file; null for none.
const Codec* codecOfPlace(const std::filesystem::path& path);
/// The format whose extension the name ends with, the longest where several fit; null for none.
const Codec* findCodecOfName(const std::filesystem::path& path);
/// @throws WritingError for none
const Codec& codecOfName(const std::filesystem::path& path);
/// The format of a file, told from its content, unless the options tell. @throws LoadingError for none
const Codec& codecOf(InputFile& file, const ReadOptions& options);
/// Why a format cannot hold an image under the options; empty when it can.
String refusalOf(const Codec& codec, const ImageModel& image, const WriteOptions& options);
/// Whether the options make a grey image of an image.
bool becomesGrey(const ReadOptions& options, const ImageHeader& image);

/// Makes of a file's information what the caller asked for, and tells which part of the image that is.
/// @throws LoadingError when the file does not have it, or it would take more memory than the caller allows
Part applyOptions(const ReadOptions& options, ImageFileInfo& info, bool inMemory = true);

/// Tells the caller of something that is not understood, or refuses the file when nobody is told.
/// @throws LoadingError
void warnOrRefuse(const ReadOptions& options, const String& text);

/// Refuses samples that the file cannot hold, before anything is allocated for them.
/// @param decodedBytes what the header promises
/// @param ratio the most bytes that one byte of the file can stand for under this compression
/// @throws LoadingError
void checkPromise(std::uint64_t decodedBytes, std::uint64_t fileBytes, std::uint64_t ratio, const String& compression);

}  // namespace rix::io
