#pragma once

#include "TiffLayout.h"

namespace rix::io {

/// A directory of a TIFF file that is a page, no reduced copy and no mask.
struct ListedPage {
    TiffPage page;
    std::size_t number;       ///< among all directories
    std::uint64_t directory;  ///< its offset
    /// Those of smaller copies: which it names, else which follow it.
    std::vector<std::uint64_t> smaller{};
};

/// Walks through all directories.
/// @throws LoadingError when one is damaged, or they promise more than the file can hold
std::vector<ListedPage> listPages(TiffHandle& handle, std::uint64_t fileBytes);

/// Chooses the pages of the image that is read, and tells how many images there are: those of the OME-XML, else pages
/// of one kind that follow each other.
/// @param description of the first page
/// @throws LoadingError when there is no such image, or there are several of different kinds and none is chosen
void chooseSeries(const std::vector<ListedPage>& pages, const String& description, const Selection& selection,
                  TiffLayout& layout);

}  // namespace rix::io
