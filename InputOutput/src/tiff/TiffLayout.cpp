#include "TiffLayout.h"

#include <algorithm>
#include <optional>

#include <rix/exceptions/Exception.h>

#include "../Codec.h"
#include "../Resolution.h"
#include "ImageJ.h"
#include "TiffAxes.h"
#include "TiffLevels.h"
#include "TiffSeries.h"

namespace rix::io {
namespace {

// ImageJ leaves out the directories of stacks that pass this size.
constexpr std::uint64_t LargestListedStack = 4294967295U;

/// The place of raw pages that have no directories, or 0.
std::uint64_t findRawPages(TiffHandle& handle, std::uint64_t fileBytes, const TiffLayout& layout,
                           std::optional<std::size_t> pages) {
    const TiffPage& page = layout.pages.page;
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

/// @param imageJ whether the resolution counts in the unit of an ImageJ description, which may replace the one here
void readResolution(TiffHandle& handle, bool imageJ, const ReadOptions& options, ImageFileInfo& info) {
    float perUnit[2] = {0.0F, 0.0F};
    const bool hasX = TIFFGetField(handle.get(), TIFFTAG_XRESOLUTION, &perUnit[0]) == 1;
    const bool hasY = TIFFGetField(handle.get(), TIFFTAG_YRESOLUTION, &perUnit[1]) == 1;
    if (!hasY) {
        perUnit[1] = perUnit[0];
    }
    if (!hasX || !isSpacing(perUnit[0]) || !isSpacing(perUnit[1])) {
        return;
    }
    const auto x = static_cast<double>(perUnit[0]);
    const auto y = static_cast<double>(perUnit[1]);
    std::uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(handle.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
    if (!imageJ && (unit == RESUNIT_INCH || unit == RESUNIT_CENTIMETER)) {
        const double inMetre = unit == RESUNIT_INCH ? 1.0 / 0.0254 : 100.0;
        applyResolution(x * inMetre, y * inMetre, options, info);
        return;
    }
    if (isSpacing(1.0 / x) && isSpacing(1.0 / y)) {
        info.spacing[COLUMNS] = 1.0 / x;
        info.spacing[ROWS] = 1.0 / y;
    }
    info.spatialUnitName = unit == RESUNIT_INCH ? "inch" : unit == RESUNIT_CENTIMETER ? "cm" : "";
}

/// How an ImageJ description says that the pages make up the image. Where it contradicts them, the pages are planes.
void arrangeImageJ(TiffHandle& handle, std::uint64_t fileBytes, const MetadataKeys& keys, const ReadOptions& options,
                   TiffLayout& layout) {
    const auto axes = imageJAxes(keys);
    const std::size_t pages = layout.directories.size();
    const auto named = axes ? axes->pages() : std::nullopt;
    std::size_t frames = 0;
    if (named && *named == pages) {
        layout.arrangement.axes = *axes;
    } else if (axes && axes->channels == layout.pages.page.channels &&
               helper::checkedMultiply(axes->slices, axes->frames, frames) && frames == pages) {
        layout.arrangement.axes = *axes;  // the channels are the samples of the pages
        layout.arrangement.axes.channels = 1;
    } else if (layout.rawPages = axes ? findRawPages(handle, fileBytes, layout, named) : 0; layout.rawPages != 0) {
        layout.arrangement.axes = *axes;
    } else if (options.warn) {
        options.warn("The description of the file tells of other pages than the " + std::to_string(pages) +
                     " that it has: they are taken as planes.");
    }
}

/// How a description of the other kinds says that the pages make up the image.
void arrangeDescribed(TiffHandle& handle, std::uint64_t fileBytes, const String& description,
                      const ReadOptions& options, TiffLayout& layout) {
    const std::size_t pages = layout.directories.size();
    try {
        layout.arrangement = layout.ome ? readOme(description, layout.pages, layout.chosen, layout.info)
                                        : readShaped(description, layout.pages, layout.info);
        const auto told = layout.arrangement.axes.pages();
        if (told && *told > pages) {
            layout.rawPages = findRawPages(handle, fileBytes, layout, told);
            if (layout.rawPages == 0) {
                throw DescriptionDoubt{"The description of the file tells of " + std::to_string(*told) +
                                       " pages; it has " + std::to_string(pages) + '.'};
            }
        }
    } catch (const DescriptionDoubt& doubt) {
        if (options.selection.axes.empty()) {  // else they are told
            warnOrRefuse(options,
                         doubt.text + (pages == 1 ? " The page is taken as it is."
                                                  : " The " + std::to_string(pages) + " pages are taken as planes."));
        }
        layout.arrangement = {};
        layout.arrangement.axes.slices = pages;
    }
}

/// The extents that follow from the arrangement of the pages.
void countPages(TiffLayout& layout) {
    auto& extents = layout.info.extents;
    const PageAxes& axes = layout.arrangement.axes;
    extents[PLANS] = axes.slices;
    extents[SEQUENCE] = axes.frames;
    if (!helper::checkedMultiply(layout.pages.page.channels, axes.channels, extents[SPECTRAL_SERIES])) {
        throw LoadingError("The file promises more channels than 64 bits can count.");
    }
}

}  // namespace

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

TiffLayout readTiffLayout(TiffHandle& handle, std::uint64_t fileBytes, const ReadOptions& options) {
    TiffLayout layout;
    ImageFileInfo& info = layout.info;
    handle.checkReading("The TIFF directory is damaged");
    const auto descriptionHere = [&] {
        const char* text = nullptr;  // libtiff's, gone with the next directory
        return TIFFGetField(handle.get(), TIFFTAG_IMAGEDESCRIPTION, &text) == 1 && text != nullptr ? String(text)
                                                                                                   : String();
    };
    String description = descriptionHere();
    chooseSeries(listPages(handle, fileBytes), description, options.selection, layout);
    if (TIFFSetSubDirectory(handle.get(), layout.directories.front()) == 0) {
        handle.failReading("The first directory cannot be read again");
    }
    if (!layout.ome) {
        description = descriptionHere();
    }
    const bool imageJ = isImageJ(description);
    const MetadataKeys keys = imageJ ? parseKeys(description) : MetadataKeys();
    readResolution(handle, imageJ, options, info);

    const TiffPage& page = layout.pages.page;
    info.extents = {page.columns, page.rows, 1, 1, page.channels};
    PageAxes& axes = layout.arrangement.axes;
    axes.slices = layout.directories.size();
    if (imageJ) {
        arrangeImageJ(handle, fileBytes, keys, options, layout);
    } else if (layout.ome || isShaped(description)) {
        arrangeDescribed(handle, fileBytes, description, options, layout);
    }
    countPages(layout);
    info.format = (layout.ome ? omeTiffCodec : tiffCodec).name;
    info.storage = describeStorage(handle, page);
    info.fileBytes = fileBytes;
    info.voxelType = page.voxelType;
    // Of pages with different numbers of bits each sample keeps its value, and 1 is not the brightest one any more.
    info.interpretation = layout.binary ? RIX_BINARY : RIX_VALUE;
    info.colorInterpretation = axes.channels == 1 ? page.color : UNKNOWN;
    applyImageJCalibration(keys, info);
    applyOwnKeys(imageJ ? keys : layout.arrangement.ownKeys, info);
    chooseLevel(handle, fileBytes, options.selection, layout);
    if (!options.selection.axes.empty()) {
        renamePages(options.selection, layout);
        countPages(layout);
        info.colorInterpretation = axes.channels == 1 ? info.colorInterpretation : UNKNOWN;
    }
    return layout;
}

}  // namespace rix::io
