#pragma once

#include <filesystem>
#include <memory>

#include "../Chunks.h"

namespace rix::io {

/// Whether a path is one of labels within an image: NAME.zarr/labels/NAME.
bool isLabelPath(const std::filesystem::path& path);

/// An image in a folder of a temporary name beside, which takes the name of the image, and the place of an older one,
/// when it is finished.
/// @throws WritingError when something else has that name, or no folder can be made
std::unique_ptr<ChunkStore> createZarr(const std::filesystem::path& path, const ImageHeader& header,
                                       const Extents& chunk, const WriteOptions& options);

}  // namespace rix::io
