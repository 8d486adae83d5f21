#pragma once

#include <memory>

#include <rix/io/ImageFile.h>

#include "../InputFile.h"

namespace rix::io {

/// Keyword of the text chunk that holds our own metadata.
inline constexpr char PngKeyword[] = "rix-image";

ImageFileInfo readPngInfo(InputFile& file, const ReadOptions& options);
std::unique_ptr<MemoryImage> readPng(InputFile& file, const ReadOptions& options);

}  // namespace rix::io
