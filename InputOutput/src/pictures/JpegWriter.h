#pragma once

#include "../Codec.h"

namespace rix::io {

/// Why JPEG cannot hold an image under the options; empty when it can.
String refusalOfJpeg(const ImageModel& image, const WriteOptions& options);

/// Writes an image that is not refused.
void writeJpeg(OutputFile& file, const std::filesystem::path& path, const ImageModel& image,
               const WriteOptions& options);

}  // namespace rix::io
