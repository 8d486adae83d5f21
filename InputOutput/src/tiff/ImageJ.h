#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "../Metadata.h"

namespace rix::io {

/// The order in which the pages of a TIFF stack follow each other: channels fastest, then slices, then frames.
struct PageAxes {
    std::size_t channels = 1;
    std::size_t slices = 1;
    std::size_t frames = 1;

    /// Nothing when the number of pages doesn't fit 64 bits.
    std::optional<std::size_t> pages() const;
};

/// The position of a page in the image.
struct PagePosition {
    std::size_t channel = 0;
    std::size_t slice = 0;
    std::size_t frame = 0;
};

inline PagePosition positionOfPage(std::size_t page, const PageAxes& axes) {
    return {page % axes.channels, page / axes.channels % axes.slices, page / axes.channels / axes.slices};
}

/// Whether a description is one of ImageJ's.
bool isImageJ(std::string_view description);

/// The axes that a description tells; an axis that it doesn't name has extent 1. A stack of `images` pages without
/// axes is one of slices. Nothing when an extent is no positive number.
std::optional<PageAxes> imageJAxes(const MetadataKeys& keys);

/// Takes plane and time spacing, origin and unit names from a description; the spacings of columns and rows, in which
/// ImageJ counts the origin, have to be in `info` already.
void applyImageJCalibration(const MetadataKeys& keys, ImageFileInfo& info);

/// The description of an image whose pages have these axes: ImageJ's keys, then our own.
String formatDescription(const ImageFileInfo& info, const PageAxes& axes);

}  // namespace rix::io
