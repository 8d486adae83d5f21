#pragma once

#include <memory>

#include <rix/io/ImageFile.h>

#include "../InputFile.h"

namespace rix::io {

ImageFileInfo readTiffInfo(InputFile& file);
std::unique_ptr<MemoryImage> readTiff(InputFile& file);

}  // namespace rix::io
