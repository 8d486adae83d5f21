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

void readStrips(TiffHandle& handle, const TiffPage& page, TiffRowPlacer& placer, const String& name,
                InterruptPoint& interrupt) {
    std::vector<std::uint8_t> buffer;
    if (!page.isDirect()) {
        buffer.resize(page.rowBytes * page.blockRows);
    }
    for (std::uint16_t group = 0; group < page.sampleGroups(); ++group) {
        for (std::uint32_t row = 0; row < page.rows; row += std::min(page.blockRows, page.rows - row)) {
            const std::uint32_t rows = std::min(page.blockRows, page.rows - row);
            const auto bytes = static_cast<tmsize_t>(page.rowBytes * rows);
            std::uint8_t* target = page.isDirect() ? placer.address(page.columns, 0, row, group) : buffer.data();
            const std::uint32_t strip = TIFFComputeStrip(handle.get(), row, group);
            if (TIFFReadEncodedStrip(handle.get(), strip, target, bytes) != bytes) {
                handle.failReading("The samples of " + name + " from row " + std::to_string(row) + " are damaged");
            }
            interrupt.pass(static_cast<std::size_t>(bytes));
            if (page.isDirect()) {
                continue;
            }
            for (std::uint32_t i = 0; i < rows; ++i) {
                placer.place(buffer.data() + i * page.rowBytes, page.columns, 0, row + i, group);
            }
        }
    }
}

void readTiles(TiffHandle& handle, const TiffPage& page, TiffRowPlacer& placer, const String& name,
               InterruptPoint& interrupt) {
    std::vector<std::uint8_t> buffer(page.rowBytes * page.blockRows);
    const auto bytes = static_cast<tmsize_t>(buffer.size());
    for (std::uint16_t group = 0; group < page.sampleGroups(); ++group) {
        for (std::uint32_t row = 0; row < page.rows; row += std::min(page.blockRows, page.rows - row)) {
            const std::uint32_t rows = std::min(page.blockRows, page.rows - row);
            for (std::uint32_t column = 0; column < page.columns;
                 column += std::min(page.blockColumns, page.columns - column)) {
                const std::uint32_t columns = std::min(page.blockColumns, page.columns - column);
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

void readRawPages(TiffHandle& handle, InputFile& file, const TiffLayout& layout, MemoryImage& image,
                  InterruptPoint& interrupt) {
    const TiffPage& page = layout.pages.page;
    const std::size_t bandRows = std::max<std::size_t>(1, (std::size_t{1} << 20U) / page.rowBytes);
    std::vector<std::uint8_t> buffer(page.rowBytes * std::min<std::size_t>(bandRows, page.rows));
    const auto palette = page.isPalette() ? readTiffPalette(handle, page) : std::vector<std::uint8_t>();
    std::uint64_t offset = layout.rawPages;
    const std::size_t pages = layout.arrangement.axes.pages().value_or(0);
    for (std::size_t index = 0; index < pages; ++index) {
        const PagePosition position = layout.arrangement.positionOf(index);
        TiffRowPlacer placer(image, page, position, position.channel * page.channels, palette);
        for (std::size_t row = 0; row < page.rows; row += bandRows) {
            const std::size_t rows = std::min<std::size_t>(bandRows, page.rows - row);
            const std::size_t bytes = rows * page.rowBytes;
            if (file.readAt(offset, buffer.data(), bytes) != bytes) {
                throw LoadingError("The samples of " + nameOfPage(index) + " end early.");
            }
            offset += bytes;
            if (TIFFIsByteSwapped(handle.get()) != 0) {
                swapByteOrder(page.stored, buffer.data(), bytes / bytesOf(page.stored));
            }
            interrupt.pass(bytes);
            for (std::size_t i = 0; i < rows; ++i) {
                placer.place(buffer.data() + i * page.rowBytes, page.columns, 0, row + i, 0);
            }
        }
    }
}

}  // namespace

ImageFileInfo readTiffInfo(InputFile& file, const ReadOptions& options) {
    TiffHandle handle(file);
    return readTiffLayout(handle, file.size(), options).info;
}

std::unique_ptr<MemoryImage> readTiff(InputFile& file, const ReadOptions& options) {
    TiffHandle handle(file);
    const TiffLayout layout = readTiffLayout(handle, file.size(), options);
    auto image = makeImage(layout.info, options);
    InterruptPoint interrupt(options);
    if (layout.rawPages != 0) {
        readRawPages(handle, file, layout, *image, interrupt);
        return image;
    }
    for (std::size_t index = 0; index < layout.directories.size(); ++index) {
        const String name = nameOfPage(index);
        if (TIFFSetSubDirectory(handle.get(), layout.directories[index]) == 0) {
            handle.failReading("The directory of " + name + " is damaged");
        }
        const TiffPage page = readTiffPage(handle);
        if (!page.matches(layout.pages.page)) {  // or rows would be written beyond the image
            throw LoadingError("The file has changed while it was read.");
        }
        const PagePosition position = layout.arrangement.positionOf(index);
        TiffRowPlacer placer(*image, page, position, position.channel * page.channels,
                             page.isPalette() ? readTiffPalette(handle, page) : std::vector<std::uint8_t>());
        if (page.tiled) {
            readTiles(handle, page, placer, name, interrupt);
        } else {
            readStrips(handle, page, placer, name, interrupt);
        }
        // Some decoders report damage and go on.
        handle.checkReading("The samples of " + name + " are damaged");
    }
    return image;
}

}  // namespace rix::io
