#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include <rix/image/ImageHeader.h>
#include <rix/image/MemoryImage.h>
#include <rix/io/ImageFile.h>

#include "Targets.h"

namespace rix::cli {

// A path of an image that is read may be "-" and a pipe as well, see Streams.h, and have a selection behind it, see
// rix/io/Selection.h.

/// @throws Failure of that exit code for a path that no file can have.
void refuseZeroByte(const std::filesystem::path& path, int exitCode);

/// Reads an image. @throws Failure (unreadable input), MemoryError.
std::unique_ptr<io::MemoryImage> loadImage(const std::filesystem::path& path);

/// An image that a run reads: on disk where its file keeps it in chunks, and where it takes more than `limitImageSize`
/// allows and its format finds parts by themselves; else in memory.
/// @throws Failure (unreadable input), MemoryError.
std::unique_ptr<ImageModel> openOrLoadImage(const std::filesystem::path& path);

/// The same of an image of which only a part is wanted: on disk wherever its format finds parts by themselves.
std::unique_ptr<ImageModel> openForParts(const std::filesystem::path& path);

/// What a file tells about its image beside the samples. @throws Failure (unreadable input).
/// @param warns whether doubts about the file are told
io::ImageFileInfo readInfo(const std::filesystem::path& path, bool warns = true);

/// An image without samples that has the header of an image file. @throws Failure (unreadable input).
std::unique_ptr<HeaderImage> readHeader(const std::filesystem::path& path);

/// An image that a run makes: on disk where the name is of a format in chunks, else in memory. `saveImage` completes
/// it.
std::unique_ptr<ImageModel> makeImage(const std::filesystem::path& path);

/// Writes an image, or completes one that `makeImage` has made. @throws Failure (unwritable output).
void saveImage(const std::filesystem::path& path, const ImageModel& image);
void saveImage(const std::filesystem::path& path, ImageModel& image);

/// Makes sure, before anything is computed, that an image can be written there: the extension names a format, the
/// folder exists and may be written to, and no folder has the name. @throws Failure (unwritable output).
void checkCanWrite(const std::filesystem::path& path);

/// Makes sure that the format of that path holds an image of these types and this shape.
/// @throws Failure (unwritable output).
void checkFits(const std::filesystem::path& path, const ImageModel& image);

/// The same as `checkCanWrite` for a file of any kind, whatever its extension.
void checkCanWriteFile(const std::filesystem::path& path);

/// The images that a command line reads; a path that comes twice with the same selection is read once.
class ImageInputs {
public:
    const ImageModel& read(const std::filesystem::path& path);

private:
    std::map<std::pair<FileIdentity, std::string>, std::unique_ptr<ImageModel>> m_images;  ///< with selections
};

}  // namespace rix::cli
