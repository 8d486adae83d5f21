#include "TiffReader.h"

#include <algorithm>

#include <rix/exceptions/Exception.h>

#include "../Codec.h"
#include "TiffBlocks.h"
#include "TiffLayout.h"

namespace rix::io {
namespace {

String nameOfPage(std::size_t page) {
    return "page " + std::to_string(page + 1);
}

/// Reads rows of a page that lie behind each other in the file, without compression.
/// @param offset of the first row
void readPlainRows(TiffHandle& handle, InputFile& file, const TiffPage& page, std::uint64_t offset, std::size_t first,
                   std::size_t count, std::size_t group, TiffRowPlacer& placer, const String& name,
                   InterruptPoint& interrupt) {
    const std::size_t bandRows = std::clamp<std::size_t>((std::size_t{1} << 20U) / page.rowBytes, 1, count);
    std::vector<std::uint8_t> buffer(page.rowBytes * bandRows);
    for (std::size_t row = 0; row < count; row += bandRows) {
        const std::size_t rows = std::min(bandRows, count - row);
        const std::size_t bytes = rows * page.rowBytes;
        if (file.readAt(offset, buffer.data(), bytes) != bytes) {
            throw LoadingError("The samples of " + name + " end early.");
        }
        offset += bytes;
        if (TIFFIsByteSwapped(handle.get()) != 0) {
            swapByteOrder(page.stored, buffer.data(), bytes / bytesOf(page.stored));
        }
        interrupt.pass(bytes);
        for (std::size_t i = 0; i < rows; ++i) {
            placer.place(buffer.data() + i * page.rowBytes, page.columns, 0, first + row + i, group);
        }
    }
}

/// Whether the bytes of a strip are the samples of its rows.
bool isPlain(TiffHandle& handle, const TiffPage& page) {
    std::uint16_t fillOrder = FILLORDER_MSB2LSB;
    TIFFGetFieldDefaulted(handle.get(), TIFFTAG_FILLORDER, &fillOrder);
    return page.compression == COMPRESSION_NONE && !page.isPacked() && fillOrder == FILLORDER_MSB2LSB;
}

void readStrips(TiffHandle& handle, InputFile& file, const TiffPage& page, PartialImage& image, TiffRowPlacer& placer,
                const String& name, InterruptPoint& interrupt) {
    const PageBox kept = keptOf(image, page);
    const bool plain = isPlain(handle, page);
    std::vector<std::uint8_t> buffer;
    for (std::uint16_t group = 0; group < page.sampleGroups(); ++group) {
        if (!placer.keepsGroup(group)) {
            continue;
        }
        for (std::uint32_t row = 0; row < page.rows; row += std::min(page.blockRows, page.rows - row)) {
            const std::uint32_t rows = std::min(page.blockRows, page.rows - row);
            if (!kept.rows.meets(row, rows)) {
                continue;
            }
            const std::uint32_t strip = TIFFComputeStrip(handle.get(), row, group);
            const bool allRows = kept.rows.holdsAll(row, rows);
            if (plain && !allRows) {
                const std::size_t first = std::max<std::size_t>(row, kept.rows.first);
                const std::size_t end = std::min<std::size_t>(row + rows, kept.rows.end());
                const std::uint64_t begin = TIFFGetStrileOffset(handle.get(), strip);
                const std::uint64_t skipped = (first - row) * page.rowBytes;
                const std::uint64_t wanted = (end - row) * page.rowBytes;
                if (begin == 0 || TIFFGetStrileByteCount(handle.get(), strip) < wanted || begin > file.size() ||
                    wanted > file.size() - begin) {
                    handle.failReading("The samples of " + name + " from row " + std::to_string(row) + " are damaged");
                }
                readPlainRows(handle, file, page, begin + skipped, first, end - first, group, placer, name, interrupt);
                continue;
            }
            const auto bytes = static_cast<tmsize_t>(page.rowBytes * rows);
            const bool direct = page.isDirect() && allRows && kept.columns.holdsAll(0, page.columns);
            if (!direct) {
                buffer.resize(page.rowBytes * page.blockRows);
            }
            std::uint8_t* target = direct ? image.open(placer.placeOf(0, row, group), page.columns) : buffer.data();
            if (TIFFReadEncodedStrip(handle.get(), strip, target, bytes) != bytes) {
                handle.failReading("The samples of " + name + " from row " + std::to_string(row) + " are damaged");
            }
            interrupt.pass(static_cast<std::size_t>(bytes));
            for (std::uint32_t i = 0; !direct && i < rows; ++i) {
                placer.place(buffer.data() + i * page.rowBytes, page.columns, 0, row + i, group);
            }
        }
    }
}

void readTiles(TiffHandle& handle, const TiffPage& page, const PageBox& kept, TiffRowPlacer& placer, const String& name,
               InterruptPoint& interrupt) {
    std::vector<std::uint8_t> buffer(page.rowBytes * page.blockRows);
    const auto bytes = static_cast<tmsize_t>(buffer.size());
    for (std::uint16_t group = 0; group < page.sampleGroups(); ++group) {
        if (!placer.keepsGroup(group)) {
            continue;
        }
        for (std::uint32_t row = 0; row < page.rows; row += std::min(page.blockRows, page.rows - row)) {
            const std::uint32_t rows = std::min(page.blockRows, page.rows - row);
            for (std::uint32_t column = 0; column < page.columns;
                 column += std::min(page.blockColumns, page.columns - column)) {
                const std::uint32_t columns = std::min(page.blockColumns, page.columns - column);
                if (!kept.meets(column, columns, row, rows)) {
                    continue;
                }
                const std::uint32_t tile = TIFFComputeTile(handle.get(), column, row, 0, group);
                if (TIFFReadEncodedTile(handle.get(), tile, buffer.data(), bytes) != bytes) {
                    handle.failReading("The tile of " + name + " at column " + std::to_string(column) + ", row " +
                                       std::to_string(row) + " is damaged");
                }
                interrupt.pass(buffer.size());
                for (std::uint32_t i = 0; i < rows; ++i) {
                    placer.place(buffer.data() + i * page.rowBytes, columns, column, row + i, group);
                }
            }
        }
    }
}

/// Whether something of a page is kept.
bool keepsPage(const PartialImage& image, const PagePosition& position, const TiffPage& page) {
    return image.kept(PLANS).holds(position.slice) && image.kept(SEQUENCE).holds(position.frame) &&
           image.kept(SPECTRAL_SERIES).meets(position.channel * page.channels, page.channels);
}

void readRawPages(TiffHandle& handle, InputFile& file, const TiffLayout& layout, PartialImage& image,
                  InterruptPoint& interrupt) {
    const TiffPage& page = layout.pages.page;
    const auto palette = page.isPalette() ? readTiffPalette(handle, page) : std::vector<std::uint8_t>();
    const PageBox kept = keptOf(image, page);
    const std::size_t pages = layout.arrangement.axes.pages().value_or(0);
    for (std::size_t index = 0; index < pages; ++index) {
        const PagePosition position = layout.arrangement.positionOf(index);
        if (!keepsPage(image, position, page)) {
            continue;
        }
        TiffRowPlacer placer(image, page, position, position.channel * page.channels, palette);
        // All pages are in the file.
        readPlainRows(handle, file, page, layout.rawPages + index * page.decodedBytes + kept.rows.first * page.rowBytes,
                      kept.rows.first, kept.rows.count, 0, placer, nameOfPage(index), interrupt);
    }
}

}  // namespace

ImageFileInfo readTiffInfo(InputFile& file, const ReadOptions& options) {
    TiffHandle handle(file);
    return readTiffLayout(handle, file.size(), options).info;
}

std::unique_ptr<MemoryImage> readTiff(InputFile& file, const ReadOptions& options) {
    TiffHandle handle(file);
    return readTiffPages(handle, file, readTiffLayout(handle, file.size(), options), options);
}

std::unique_ptr<MemoryImage> readTiffPages(TiffHandle& handle, InputFile& file, const TiffLayout& layout,
                                           const ReadOptions& options) {
    PartialImage image(layout.info, options);
    InterruptPoint interrupt(options.interrupted);
    if (layout.rawPages != 0) {
        readRawPages(handle, file, layout, image, interrupt);
        return image.release();
    }
    for (std::size_t index = 0; index < layout.directories.size(); ++index) {
        const PagePosition position = layout.arrangement.positionOf(index);
        if (!keepsPage(image, position, layout.pages.page)) {
            continue;
        }
        const String name = nameOfPage(layout.pages.numbers[index]);
        const bool isThere = TIFFCurrentDirOffset(handle.get()) == layout.directories[index];
        if (!isThere && TIFFSetSubDirectory(handle.get(), layout.directories[index]) == 0) {
            handle.failReading("The directory of " + name + " is damaged");
        }
        const TiffPage page = readTiffPage(handle);
        if (!page.matches(layout.pages.page)) {  // or rows would be written beyond the image
            throw LoadingError("The file has changed while it was read.");
        }
        TiffRowPlacer placer(image, page, position, position.channel * page.channels,
                             page.isPalette() ? readTiffPalette(handle, page) : std::vector<std::uint8_t>());
        if (page.tiled) {
            readTiles(handle, page, keptOf(image, page), placer, name, interrupt);
        } else {
            readStrips(handle, file, page, image, placer, name, interrupt);
        }
        // Some decoders report damage and go on.
        handle.checkReading("The samples of " + name + " are damaged");
    }
    return image.release();
}

}  // namespace rix::io
