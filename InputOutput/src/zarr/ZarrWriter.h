#pragma once

#include <filesystem>
#include <memory>

#include "../Chunks.h"

namespace rix::io {

/// Whether a path is one of labels within an image: NAME.zarr/labels/NAME.
bool isLabelPath(const std::filesystem::path& path);

/// The extents of chunks that the options ask for, 0 for the usual ones; planes go one by one in tiles.
Extents chunkFor(const WriteOptions& options);

/// An image in a folder of a temporary name beside, which takes the name of the image, and the place of an older one,
/// when it is finished.
/// @throws WritingError when something else has that name, or no folder can be made
std::unique_ptr<ChunkStore> createZarr(const std::filesystem::path& path, const ImageHeader& header,
                                       const Extents& chunk, const WriteOptions& options);

}  // namespace rix::io
