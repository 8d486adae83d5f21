#pragma once

#include <memory>

#include <rix/io/ImageFile.h>

#include "../InputFile.h"

namespace rix::io {

class TiffHandle;
struct TiffLayout;

ImageFileInfo readTiffInfo(InputFile& file, const ReadOptions& options);
std::unique_ptr<MemoryImage> readTiff(InputFile& file, const ReadOptions& options);
/// Reads what is selected of the image that a layout tells.
std::unique_ptr<MemoryImage> readTiffPages(TiffHandle& handle, InputFile& file, const TiffLayout& layout,
                                           const ReadOptions& options);

}  // namespace rix::io
