#pragma once

#include <cstdint>
#include <vector>

#include <rix/image/ImageModel.h>

#include "ImageJ.h"
#include "TiffPage.h"

namespace rix::io {

/// Puts decoded rows of a page where they belong in an image in memory: unpacks samples below a byte or between, pulls
/// channels apart, turns values over, looks up the palette, undoes a mirrored orientation.
class TiffRowPlacer {
public:
    /// @param palette of `readTiffPalette`; empty for pages without
    TiffRowPlacer(ImageModel& image, const TiffPage& page, const PagePosition& position, std::size_t firstChannel,
                  std::vector<std::uint8_t> palette);

    /// @param bytes a decoded row of a block, `count` pixels of which lie in the page
    /// @param column,row of its first pixel in the page as stored
    /// @param group index of the sample plane, 0 when samples lie beside each other
    void place(const std::uint8_t* bytes, std::size_t count, std::size_t column, std::size_t row, std::size_t group);

    /// Where a row of the image lies in memory.
    std::uint8_t* address(std::size_t count, std::size_t column, std::size_t row, std::size_t channel);

private:
    void unpack(const std::uint8_t* bytes, std::size_t samples);
    void lookUp(const std::uint8_t* indices, std::size_t count, std::size_t column, std::size_t row);
    void finish(std::uint8_t* row, std::size_t count);

    ImageModel& m_image;
    const TiffPage& m_page;
    PagePosition m_position;
    std::size_t m_firstChannel;
    std::size_t m_sampleBytes;
    std::vector<std::uint8_t> m_palette;
    std::vector<std::uint8_t> m_unpacked;
};

}  // namespace rix::io
