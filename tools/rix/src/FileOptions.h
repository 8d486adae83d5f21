#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include <rix/image/ImageHeader.h>
#include <rix/image/ImageModel.h>
#include <rix/io/ImageFile.h>

namespace CLI {
class App;
}

namespace rix::cli {

/// Adds what a command may be told about the image files that it reads: --spacing, --unit, --no-calibration,
/// --print-resolution, --grey, --max-image-size. They hold for all of them.
void addReadingOptions(CLI::App& command);
/// The same for the files that it writes: --compress, --quality, --pyramid, --drop-metadata.
void addWritingOptions(CLI::App& command);

/// Adds --memory, in bytes.
void addMemoryOption(CLI::App& command, std::optional<std::uint64_t>& memory);

/// From now on this thread reads no image into memory that takes more bytes, whatever else the command line allows; 0
/// for any.
void limitImageSize(std::uint64_t bytes);
/// Whether there is such a limit.
bool isImageSizeLimited();
/// Whether an image would take more than that.
bool isBeyondLimit(const ImageHeader& header);

/// How files are read as the command line says: Ctrl-C ends it, doubts about a file are told on standard error.
io::ReadOptions readingOptions(const std::filesystem::path& path);
io::WriteOptions writingOptions();

/// Gives an image that was read the spacing and the unit of the command line, if it has them.
void calibrate(ImageModel& image);

}  // namespace rix::cli
