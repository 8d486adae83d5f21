#pragma once

#include <rix/io/ImageFile.h>

#include "../OutputFile.h"

namespace rix::io {

/// Why PNG cannot hold an image under these options; empty when it can.
String refusalOfPng(const ImageModel& image, const WriteOptions& options);

void writePng(OutputFile& file, const std::filesystem::path& path, const ImageModel& image,
              const WriteOptions& options);

}  // namespace rix::io
