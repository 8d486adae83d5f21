#pragma once

#include <memory>

#include <rix/io/ImageFile.h>

#include "../InputFile.h"

namespace rix::io {

ImageFileInfo readTiffInfo(InputFile& file, const ReadOptions& options);
std::unique_ptr<MemoryImage> readTiff(InputFile& file, const ReadOptions& options);

}  // namespace rix::io
