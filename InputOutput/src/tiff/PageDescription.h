#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include <rix/io/ImageFile.h>

#include "../Metadata.h"
#include "PageAxes.h"
#include "TiffPage.h"

namespace rix::io {

/// The pages of a file that make up the image: all of the sizes and types of `page`.
struct PageList {
    TiffPage page;
    std::vector<std::size_t> numbers;  ///< of the pages among all directories of the file, ascending
};

/// How pages make up an image.
struct PageArrangement {
    PageAxes axes;
    std::vector<PagePosition> positions{};  ///< of each page, where they are told one by one; else empty
    MetadataKeys ownKeys{};                 ///< what a description holds of ours

    PagePosition positionOf(std::size_t page) const {
        return positions.empty() ? positionOfPage(page, axes) : positions[page];
    }
};

/// What a description that is not understood or contradicts the pages makes the reader say: it is then as if there
/// were none.
struct DescriptionDoubt {
    String text;
};

/// The namespace of the annotation that holds our own metadata.
inline constexpr char OmeNamespace[] = "rix-image";

/// Whether a description is the XML of an OME-TIFF file.
bool isOme(std::string_view description);
/// The images that OME-XML describes; 0 when it is damaged.
std::size_t countOmeImages(const String& description);
/// The numbers of the directories of one of them, which has to be there.
/// @param directories of the file
/// @throws DescriptionDoubt
std::vector<std::size_t> pagesOfOmeImage(const String& description, std::size_t series, std::size_t directories);
/// The arrangement that OME-XML tells; takes spacings and units into `info`.
/// @param pages of the image
/// @param series the image among several; nothing for the only one
/// @throws DescriptionDoubt, with `info` unchanged
PageArrangement readOme(const String& description, const PageList& pages, std::optional<std::size_t> series,
                        ImageFileInfo& info);
/// The OME-XML of an image whose pages have these axes, as samples of `bits` bits.
String formatOme(const ImageFileInfo& info, const PageAxes& axes, std::size_t samplesOfPixel, unsigned bits);

/// Whether a description is the JSON that names the shape of an array, and maybe its axes.
bool isShaped(std::string_view description);
/// The arrangement that it tells; takes spacing and unit into `info`. The samples of a file with one directory may
/// follow each other without more directories: then the pages of the arrangement are more than those listed.
/// @throws DescriptionDoubt
PageArrangement readShaped(const String& description, const PageList& pages, ImageFileInfo& info);

}  // namespace rix::io
