#pragma once

#include <cstdint>
#include <filesystem>

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

/// Lets no image be read into memory that takes more bytes, whatever else the command line allows.
void limitImageSize(std::uint64_t bytes);

/// How files are read as the command line says: Ctrl-C ends it, doubts about a file are told on standard error.
io::ReadOptions readingOptions(const std::filesystem::path& path);
io::WriteOptions writingOptions();

/// Gives an image that was read the spacing and the unit of the command line, if it has them.
void calibrate(ImageModel& image);

}  // namespace rix::cli
