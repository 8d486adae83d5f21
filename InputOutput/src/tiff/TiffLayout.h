#pragma once

#include <cstdint>
#include <vector>

#include "ImageJ.h"
#include "TiffPage.h"

namespace rix::io {

/// How the pages of a TIFF file make up one image.
struct TiffLayout {
    ImageFileInfo info;
    TiffPage page;  ///< the first one; all have its sizes and types
    PageAxes axes;
    std::vector<std::uint64_t> directories;  ///< offsets of the pages

    /// ImageJ writes stacks of more than 4 GiB with one directory only: the pages follow the first one, raw. This is
    /// where they begin; 0 for files with a directory for each page.
    std::uint64_t rawPages = 0;
};

/// Walks through all directories.
/// @throws LoadingError when the file is damaged, of a kind that is not supported, or promises more than it can hold
TiffLayout readTiffLayout(TiffHandle& handle, std::uint64_t fileBytes);

}  // namespace rix::io
