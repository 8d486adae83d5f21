#pragma once

#include <filesystem>
#include <memory>

#include <rix/Export.h>
#include <rix/image/DiskImage.h>
#include <rix/io/ImageFile.h>

namespace rix::io {

/// Whether images of that name are written in chunks, each as soon as it is complete.
RIX_EXPORT bool isChunkedFileName(const std::filesystem::path& path);

/// Whether `openImage` takes what is there under these options: a format that finds chunks of its images, an image
/// that is wanted as it is (no part of it, and not as a grey one). False, too, where nothing can be read.
RIX_EXPORT bool canOpenImage(const std::filesystem::path& path, const ReadOptions& options = {});

/// Whether an image that `openImage` takes is better left on disk: a folder of chunks always, one in a file when its
/// samples take more than the cache of disk images ("RIX_DISK_CACHE_SIZE").
RIX_EXPORT bool isForOpening(const std::filesystem::path& path, const ReadOptions& options = {});

/// Opens an image on disk: samples are read when they are asked for, chunk by chunk, through the cache of the process.
/// What the image is, is what `readImage` would give; its size is not limited, the size of its chunks is, by the
/// options' `maximumImageSize` or RIX_MAXIMUM_IMAGE_SIZE, and by 2 GiB.
/// @throws LoadingError as `readImage`, and when the format or the options need the image in memory. A chunk that is
///         damaged makes the rows fail that it has samples of.
RIX_EXPORT std::unique_ptr<DiskImage> openImage(const std::filesystem::path& path, const ReadOptions& options = {});

/// An image without elements whose chunks are written to a file as they become complete, after `reserve`, which makes
/// it under a temporary name beside. `DiskImage::close` completes it and gives it its name; without that nothing
/// appears. `reserve` fails for what the format cannot hold. In chunks of the options' tiles, where they have them.
///
/// Formats that are not written in chunks, TIFF with tiles among them, keep the samples in a temporary file without
/// compression beside, and are written from it by `close`, by rows or tiles, each once: that takes the room of both on
/// disk, and little memory.
/// @throws WritingError when the name is of no format
RIX_EXPORT std::unique_ptr<DiskImage> createImage(const std::filesystem::path& path, const WriteOptions& options = {});

}  // namespace rix::io
