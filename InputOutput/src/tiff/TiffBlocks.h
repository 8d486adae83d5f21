#pragma once

#include <cstdint>
#include <vector>

#include "../Part.h"
#include "ImageJ.h"
#include "TiffPage.h"

namespace rix::io {

/// A box of a page as it is stored.
struct PageBox {
    Indices columns;
    Indices rows;

    bool meets(std::size_t column, std::size_t count, std::size_t row, std::size_t rowCount) const {
        return columns.meets(column, count) && rows.meets(row, rowCount);
    }
};

/// What is kept of a page.
PageBox keptOf(const PartialImage& image, const TiffPage& page);

/// Puts decoded rows of a page where they belong in an image in memory: unpacks samples below a byte or between, pulls
/// channels apart, turns values over, looks up the palette, undoes a mirrored orientation.
class TiffRowPlacer {
public:
    /// @param palette of `readTiffPalette`; empty for pages without
    TiffRowPlacer(PartialImage& image, const TiffPage& page, const PagePosition& position, std::size_t firstChannel,
                  std::vector<std::uint8_t> palette);

    /// @param bytes a decoded row of a block, `count` pixels of which lie in the page
    /// @param column,row of its first pixel in the page as stored
    /// @param group index of the sample plane, 0 when samples lie beside each other
    void place(const std::uint8_t* bytes, std::size_t count, std::size_t column, std::size_t row, std::size_t group);

    /// Where a row of a page lies in the image in memory.
    Place placeOf(std::size_t column, std::size_t row, std::size_t channel) const;
    /// Whether something of a sample plane is kept.
    bool keepsGroup(std::size_t group) const;

private:
    void unpack(const std::uint8_t* bytes, std::size_t samples);
    void lookUp(const std::uint8_t* indices, std::size_t count, std::size_t column, std::size_t row);
    void finish(std::uint8_t* row, std::size_t count);

    PartialImage& m_image;
    const TiffPage& m_page;
    PagePosition m_position;
    std::size_t m_firstChannel;
    std::size_t m_sampleBytes;
    std::vector<std::uint8_t> m_palette;
    std::vector<std::uint8_t> m_unpacked;
};

}  // namespace rix::io
