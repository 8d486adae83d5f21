#pragma once

#include <functional>

#include "Chunks.h"

namespace rix::io {

/// Keeps chunks in a temporary file beside an image file until all of them are there, and then gives the writer of a
/// format the image, row by row: for formats that are written from the first sample to the last.
/// @param write is given an image of which rows can be read; what it writes is complete when it returns
/// @throws WritingError when there is no room for a temporary file
std::unique_ptr<ChunkStore> makeSpool(const std::filesystem::path& path, const ImageHeader& header,
                                      const Extents& chunk, std::function<void(const ImageModel&)> write);

}  // namespace rix::io
