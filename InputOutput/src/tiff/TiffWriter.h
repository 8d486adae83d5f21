#pragma once

#include <rix/io/ImageFile.h>

#include "../OutputFile.h"

namespace rix::io {

/// Why TIFF cannot hold an image under these options; empty when it can.
String refusalOfTiff(const ImageModel& image, const WriteOptions& options);

/// With ImageJ's description of the pages.
void writeTiff(OutputFile& file, const std::filesystem::path& path, const ImageModel& image,
               const WriteOptions& options);
/// With the XML of OME-TIFF.
void writeOmeTiff(OutputFile& file, const std::filesystem::path& path, const ImageModel& image,
                  const WriteOptions& options);

}  // namespace rix::io
