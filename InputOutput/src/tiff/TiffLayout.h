#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "PageDescription.h"

namespace rix::io {

/// How the pages of a TIFF file make up one image.
struct TiffLayout {
    ImageFileInfo info;
    PageList pages;  ///< `page` is the first one
    PageArrangement arrangement;
    std::vector<std::uint64_t> directories;             ///< offsets of the pages
    std::vector<std::vector<std::uint64_t>> smaller{};  ///< of smaller copies of each page
    bool binary = true;                                 ///< all pages are
    bool ome = false;                                   ///< the first page has OME-XML
    std::optional<std::size_t> chosen{};                ///< image among several

    /// ImageJ writes stacks of more than 4 GiB with one directory only, Python programs any stack on request: the pages
    /// follow the first one, raw. This is where they begin; 0 for files with a directory for each page.
    std::uint64_t rawPages = 0;
};

/// For people: "deflate, tiles of 64 x 64, 16 bits a sample".
String describeStorage(TiffHandle& handle, const TiffPage& page);

/// Walks through all directories.
/// @throws LoadingError when the file is damaged, of a kind that is not supported, or promises more than it can hold
TiffLayout readTiffLayout(TiffHandle& handle, std::uint64_t fileBytes, const ReadOptions& options);

}  // namespace rix::io
