#include "TiffLayout.h"

#include <algorithm>
#include <optional>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

// ImageJ leaves out the directories of stacks that pass this size.
constexpr std::uint64_t LargestListedStack = 4294967295U;

String describePage(const TiffPage& page) {
    return std::to_string(page.columns) + " x " + std::to_string(page.rows) + " of " + std::to_string(page.channels) +
           " x " + helper::voxelTypesToString(page.voxelType);
}

/// Fills `page` and `directories`.
void collectPages(TiffHandle& handle, std::uint64_t fileBytes, TiffLayout& layout) {
    // Bytes of the file that the pages so far need at least: so many directories that share their samples come to an
    // end, as does a single one that promises too much.
    std::uint64_t needed = 0;
    for (std::size_t directory = 0;; ++directory) {
        if (directory == 0 || isFullPage(handle)) {
            const TiffPage page = readTiffPage(handle);
            needed += page.decodedBytes / tiffCompression(page.compression).ratio;
            if (needed > fileBytes) {
                throw LoadingError("The pages promise more bytes of samples than the " + std::to_string(fileBytes) +
                                   " bytes of the file can hold.");
            }
            if (directory == 0) {
                layout.page = page;
            } else if (!page.matches(layout.page)) {
                throw LoadingError("The pages make no image: page 1 is " + describePage(layout.page) + ", page " +
                                   std::to_string(directory + 1) + " is " + describePage(page) + ".");
            }
            layout.directories.push_back(TIFFCurrentDirOffset(handle.get()));
        }
        if (TIFFLastDirectory(handle.get()) != 0) {
            break;
        }
        if (TIFFReadDirectory(handle.get()) == 0) {
            handle.failReading("Directory " + std::to_string(directory + 2) + " of the TIFF file is damaged");
        }
        handle.checkReading("Directory " + std::to_string(directory + 2) + " of the TIFF file is damaged");
    }
}

/// The place of raw pages that have no directories, or 0.
std::uint64_t findRawPages(TiffHandle& handle, std::uint64_t fileBytes, const TiffLayout& layout,
                           std::optional<std::size_t> pages) {
    const TiffPage& page = layout.page;
    if (layout.directories.size() != 1 || page.compression != COMPRESSION_NONE || page.tiled || page.separate ||
        page.isPacked()) {
        return 0;
    }
    const std::uint64_t begin = TIFFGetStrileOffset(handle.get(), 0);
    std::size_t bytes = 0;
    const bool counted = pages && helper::checkedMultiply(page.decodedBytes, *pages, bytes);
    const std::uint64_t directory = layout.directories.front();
    if (counted && begin != 0 && begin <= fileBytes && bytes <= fileBytes - begin &&
        (directory < begin || directory >= begin + bytes)) {
        return begin;
    }
    if (!counted || bytes > LargestListedStack) {
        throw LoadingError("The description promises more pages of " + std::to_string(page.decodedBytes) +
                           " bytes than the file holds (truncated?).");
    }
    return 0;  // one page that was taken out of a stack, with the description of the stack
}

void applyResolution(TiffHandle& handle, bool imageJ, ImageFileInfo& info) {
    float perUnit[2] = {0.0F, 0.0F};
    const bool hasX = TIFFGetField(handle.get(), TIFFTAG_XRESOLUTION, &perUnit[0]) == 1;
    const bool hasY = TIFFGetField(handle.get(), TIFFTAG_YRESOLUTION, &perUnit[1]) == 1;
    if (!hasY) {
        perUnit[1] = perUnit[0];
    }
    if (!hasX || !isSpacing(perUnit[0]) || !isSpacing(perUnit[1])) {
        return;
    }
    std::uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(handle.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
    double length = 1.0;
    if (imageJ) {  // counts in the unit of the description, which may replace this one
        info.spatialUnitName = unit == RESUNIT_INCH ? "inch" : unit == RESUNIT_CENTIMETER ? "cm" : "";
    } else if (unit == RESUNIT_INCH || unit == RESUNIT_CENTIMETER) {
        length = unit == RESUNIT_INCH ? 25.4 : 10.0;
        info.spatialUnitName = "mm";
    }
    const double x = length / static_cast<double>(perUnit[0]);
    const double y = length / static_cast<double>(perUnit[1]);
    if (isSpacing(x) && isSpacing(y)) {
        info.spacing[COLUMNS] = x;
        info.spacing[ROWS] = y;
    }
}

String describeStorage(TiffHandle& handle, const TiffPage& page) {
    String text = tiffCompression(page.compression).name;
    text += page.tiled ? ", tiles of " + std::to_string(page.blockColumns) + " x " + std::to_string(page.blockRows)
                       : ", strips of " + std::to_string(page.blockRows) + " rows";
    text += ", " + std::to_string(page.bits) + " bits a sample";
    text += page.separate ? ", samples in planes of their own" : "";
    text += page.isPalette() ? ", palette" : "";
    text += TIFFIsBigEndian(handle.get()) != 0 ? ", big-endian" : "";
    text += TIFFIsBigTIFF(handle.get()) != 0 ? ", BigTIFF" : "";
    return text;
}

}  // namespace

TiffLayout readTiffLayout(TiffHandle& handle, std::uint64_t fileBytes) {
    TiffLayout layout;
    const char* text = nullptr;
    handle.checkReading("The TIFF directory is damaged");
    const bool described = TIFFGetField(handle.get(), TIFFTAG_IMAGEDESCRIPTION, &text) == 1 && text != nullptr;
    const String description = described ? text : "";  // libtiff's text is gone with the next directory
    const bool imageJ = isImageJ(description);
    const MetadataKeys keys = imageJ ? parseKeys(description) : MetadataKeys();
    applyResolution(handle, imageJ, layout.info);
    collectPages(handle, fileBytes, layout);
    if (TIFFSetSubDirectory(handle.get(), layout.directories.front()) == 0) {
        handle.failReading("The first directory cannot be read again");
    }

    const TiffPage& page = layout.page;
    const std::size_t pages = layout.directories.size();
    layout.axes.slices = pages;
    std::size_t channels = page.channels;
    if (const auto axes = imageJ ? imageJAxes(keys) : std::nullopt) {
        const auto named = axes->pages();
        std::size_t frames = 0;
        if (named && *named == pages) {
            layout.axes = *axes;
        } else if (axes->channels == page.channels && helper::checkedMultiply(axes->slices, axes->frames, frames) &&
                   frames == pages) {
            layout.axes = {1, axes->slices, axes->frames};  // the channels are the samples of the pages
        } else if (layout.rawPages = findRawPages(handle, fileBytes, layout, named); layout.rawPages != 0) {
            layout.axes = *axes;
        }
    }
    if (!helper::checkedMultiply(channels, layout.axes.channels, channels)) {
        throw LoadingError("The file promises more channels than 64 bits can count.");
    }

    ImageFileInfo& info = layout.info;
    info.format = "TIFF";
    info.storage = describeStorage(handle, page);
    info.fileBytes = fileBytes;
    info.extents = {page.columns, page.rows, layout.axes.slices, layout.axes.frames, channels};
    info.voxelType = page.voxelType;
    info.interpretation = page.bits == 1 && !page.isPalette() ? RIX_BINARY : RIX_VALUE;
    info.colorInterpretation = layout.axes.channels == 1 ? page.color : UNKNOWN;
    applyImageJCalibration(keys, info);
    applyOwnKeys(keys, info);
    return layout;
}

}  // namespace rix::io
