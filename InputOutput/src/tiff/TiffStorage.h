#pragma once

#include <cstdint>

#include <rix/io/ImageFile.h>

#include "ImageJ.h"

namespace rix::io {

/// How the pages of an image are laid out in a TIFF file.
struct TiffStorage {
    TiffStorage(const ImageFileInfo& info, const WriteOptions& options);

    std::size_t columns;
    std::size_t rows;
    std::size_t samples;  ///< of a pixel: those of colours; other channels are pages of their own
    PageAxes axes;
    std::uint16_t bits;    ///< of a sample; 1 for binary pages
    std::uint16_t format;  ///< SAMPLEFORMAT_...
    bool tiled;
    std::size_t blockColumns;  ///< size of a tile, or of a strip
    std::size_t blockRows;

    /// Eight pixels in a byte.
    bool isPacked() const { return bits == 1; }
    std::size_t pages() const { return axes.pages().value_or(0); }
    /// Bytes of `count` pixels side by side.
    std::size_t bytesOf(std::size_t count) const { return (count * samples * bits + 7) / 8; }
    /// Bytes of the samples of all pages without compression; 0 when they don't fit 64 bits.
    std::uint64_t sampleBytes() const;
    /// Whether offsets of 32 bits could be too small.
    bool needsBigTiff() const;
};

/// Whether the channels are the samples of one pixel, as those of colours are, and not pages of their own.
bool hasColorPixels(const ImageFileInfo& info);

}  // namespace rix::io
