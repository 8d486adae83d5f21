#pragma once

#include "../Chunks.h"

namespace rix::io {

/// Tiles, runs of strips, or, without compression, runs of rows of a TIFF file as the chunks of an image.
ChunkedImage openTiff(const std::filesystem::path& path, const ReadOptions& options);

}  // namespace rix::io
