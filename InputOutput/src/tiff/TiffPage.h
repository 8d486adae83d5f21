#pragma once

#include <cstdint>
#include <vector>

#include <rix/io/ImageFile.h>

#include "../StoredSamples.h"
#include "TiffHandle.h"

namespace rix::io {

/// What the current directory of a TIFF file says about its samples, checked to be of a kind that is read.
struct TiffPage {
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint16_t bits = 1;     ///< of a stored sample; packed when it is no whole number of bytes
    std::uint16_t samples = 1;  ///< of a stored pixel
    std::uint16_t photometric = 0;
    std::uint16_t orientation = 1;
    std::uint16_t compression = 1;
    bool separate = false;  ///< samples lie in planes of their own, not beside each other
    bool tiled = false;
    std::uint32_t blockColumns = 0;  ///< size of a tile, or of a strip
    std::uint32_t blockRows = 0;

    StoredType stored = StoredType::UInt8;  ///< the type of samples, after unpacking
    VoxelTypes voxelType = RIX_UINT8;       ///< after unpacking, palette and conversion
    std::size_t channels = 1;               ///< after the palette
    ColorInterpretation color = UNKNOWN;

    std::size_t rowBytes = 0;        ///< of a row of a block, as decoded
    std::uint64_t decodedBytes = 0;  ///< of all blocks of the page

    /// Whether two pages can belong to one image, whatever number of bits their samples have.
    bool matches(const TiffPage& other) const;
    /// Whether samples are black and white.
    bool isBinary() const { return bits == 1 && !isPalette(); }
    bool isPalette() const;
    bool isPacked() const;
    /// Zero means white, and turning values over is defined (unsigned ones only).
    bool isInverted() const;
    bool isMirroredInColumns() const;
    bool isMirroredInRows() const;
    /// A decoded strip is a run of rows of the image as it stands.
    bool isDirect() const;
    /// Samples that lie beside each other in a decoded row.
    std::size_t adjacentSamples() const { return separate ? 1 : samples; }
    /// Groups of samples that lie in planes of their own.
    std::size_t sampleGroups() const { return separate ? samples : 1; }
};

/// The greatest number of decoded bytes that one byte can stand for, and the name of the compression.
struct TiffCompression {
    std::uint16_t code;
    const char* name;
    std::uint32_t ratio;
};

/// The compressions that are read.
const TiffCompression& tiffCompression(std::uint16_t code);

/// Describes the current directory.
/// @throws LoadingError when it is damaged, of a kind that is not supported, or promises more than the file can hold
TiffPage readTiffPage(TiffHandle& handle);

/// Whether the current directory is a page of its own, no reduced copy and no mask of another.
bool isFullPage(TiffHandle& handle);

/// Whether the current directory is a smaller copy of another, and no mask of it.
bool isReducedPage(TiffHandle& handle);

/// The entries of the palette of the current directory as samples of the page's voxel type: all reds, greens, blues.
std::vector<std::uint8_t> readTiffPalette(TiffHandle& handle, const TiffPage& page);

}  // namespace rix::io
