#include "TiffPage.h"

#include <algorithm>
#include <array>
#include <optional>

#include <rix/exceptions/Exception.h>

#include "../Codec.h"

namespace rix::io {
namespace {

// Ratios. LZW: a code of 12 bits stands for a string of at most 3839 bytes. Deflate: 258 bytes in 2 bits, less what
// tables take. PackBits: 128 bytes in 2. JPEG: 64 samples in a bit, times the subsampling of colour. Zstandard: a run
// block of 4 bytes stands for 128 KiB. LZMA has no bound in its format; far above what
// xz reaches on rows of zeros. A white row costs the fax codes one bit,
// however long; there the number is a choice, enough for a blank page in print.
constexpr std::array<TiffCompression, 12> Compressions{{
    {COMPRESSION_NONE, "no compression", 1},
    {COMPRESSION_LZW, "LZW", 2560},
    {COMPRESSION_ADOBE_DEFLATE, "deflate", 1032},
    {COMPRESSION_DEFLATE, "deflate", 1032},
    {COMPRESSION_PACKBITS, "PackBits", 64},
    {COMPRESSION_JPEG, "JPEG", 2048},
    {COMPRESSION_LZMA, "LZMA", 16384},
    {COMPRESSION_ZSTD, "Zstandard", 32768},
    {COMPRESSION_CCITTRLE, "fax", 65536},
    {COMPRESSION_CCITTRLEW, "fax", 65536},
    {COMPRESSION_CCITTFAX3, "fax", 65536},
    {COMPRESSION_CCITTFAX4, "fax", 65536},
}};

String nameOfSampleFormat(std::uint16_t format) {
    switch (format) {
        case SAMPLEFORMAT_UINT: return "unsigned integer";
        case SAMPLEFORMAT_INT: return "signed integer";
        case SAMPLEFORMAT_IEEEFP: return "floating-point";
        case SAMPLEFORMAT_COMPLEXINT: return "complex integer";
        case SAMPLEFORMAT_COMPLEXIEEEFP: return "complex floating-point";
        default: return "untyped (format " + std::to_string(format) + ")";
    }
}

String nameOfPhotometric(std::uint16_t photometric) {
    switch (photometric) {
        case PHOTOMETRIC_SEPARATED: return "inks (CMYK)";
        case PHOTOMETRIC_YCBCR: return "YCbCr without JPEG";
        case PHOTOMETRIC_CIELAB:
        case PHOTOMETRIC_ICCLAB:
        case PHOTOMETRIC_ITULAB: return "CIE L*a*b*";
        case PHOTOMETRIC_LOGL:
        case PHOTOMETRIC_LOGLUV: return "logarithmic luminance";
        case PHOTOMETRIC_CFA: return "a sensor's colour filter array";
        default: return "photometric interpretation " + std::to_string(photometric);
    }
}

template <class Value>
Value fieldOf(TiffHandle& handle, std::uint32_t tag) {
    Value value = 0;
    TIFFGetFieldDefaulted(handle.get(), tag, &value);
    return value;
}

StoredType storedTypeOf(std::uint16_t format, std::uint16_t bits) {
    std::optional<StoredKind> kind;
    switch (format) {
        case SAMPLEFORMAT_VOID:
        case SAMPLEFORMAT_UINT: kind = StoredKind::Unsigned; break;
        case SAMPLEFORMAT_INT: kind = StoredKind::Signed; break;
        case SAMPLEFORMAT_IEEEFP: kind = StoredKind::Floating; break;
        case SAMPLEFORMAT_COMPLEXIEEEFP: kind = StoredKind::Complex; break;
        default: break;
    }
    if (kind && bits % 8 == 0) {
        if (const auto type = storedTypeOf(*kind, bits / 8U)) {
            return *type;
        }
    }
    if (kind == StoredKind::Unsigned && bits >= 1 && bits < 16) {
        return bits < 8 ? StoredType::UInt8 : StoredType::UInt16;
    }
    throw LoadingError("The samples are of " + std::to_string(bits) + " bits, " + nameOfSampleFormat(format) +
                       ". Supported are unsigned integers of 1 to 16, 32 and 64 bits, signed integers of 8, 16, 32 and "
                       "64, floating-point of 16, 32 and 64, complex floating-point of 64 and 128.");
}

/// Palettes keep 16 bits a colour. Nearly all hold 8-bit colours, as the high byte (with 0 or the same below).
bool isPaletteOf8Bits(const std::uint16_t* entries, std::size_t count) {
    return std::all_of(entries, entries + count, [](std::uint16_t entry) {
        const unsigned low = entry & 0xFFU;
        return low == 0 || low == static_cast<unsigned>(entry >> 8U);
    });
}

std::array<std::uint16_t*, 3> paletteOf(TiffHandle& handle) {
    std::array<std::uint16_t*, 3> palette{};
    if (TIFFGetField(handle.get(), TIFFTAG_COLORMAP, &palette[0], &palette[1], &palette[2]) != 1) {
        handle.failReading("The palette is missing");
    }
    return palette;
}

void readColors(TiffHandle& handle, TiffPage& page) {
    page.channels = page.samples;
    switch (page.photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
        case PHOTOMETRIC_MASK: break;
        case PHOTOMETRIC_RGB: page.color = page.samples == 3 || page.samples == 4 ? RGB : UNKNOWN; break;
        case PHOTOMETRIC_PALETTE: {
            if (page.samples != 1 || page.bits > 16 || (page.voxelType != RIX_UINT8 && page.voxelType != RIX_UINT16)) {
                throw LoadingError("A palette needs one unsigned sample of at most 16 bits a pixel; this file has " +
                                   std::to_string(page.samples) + " of " + std::to_string(page.bits) + " bits.");
            }
            const auto palette = paletteOf(handle);
            const std::size_t entries = std::size_t{1} << page.bits;
            page.voxelType = std::all_of(palette.begin(), palette.end(),
                                         [&](const auto* part) { return isPaletteOf8Bits(part, entries); })
                                 ? RIX_UINT8
                                 : RIX_UINT16;
            page.channels = 3;
            page.color = RGB;
            break;
        }
        case PHOTOMETRIC_YCBCR:
            if (page.compression == COMPRESSION_JPEG && page.samples == 3 && page.bits == 8 && !page.separate) {
                TIFFSetField(handle.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
                page.color = RGB;
                break;
            }
            [[fallthrough]];
        default:
            throw LoadingError("The colours are kept as " + nameOfPhotometric(page.photometric) +
                               ". Supported are greys, RGB, palettes, and YCbCr inside JPEG.");
    }
}

void readBlocks(TiffHandle& handle, TiffPage& page) {
    page.tiled = TIFFIsTiled(handle.get()) != 0;
    if (page.tiled) {
        page.blockColumns = fieldOf<std::uint32_t>(handle, TIFFTAG_TILEWIDTH);
        page.blockRows = fieldOf<std::uint32_t>(handle, TIFFTAG_TILELENGTH);
    } else {
        page.blockColumns = page.columns;
        page.blockRows = std::min(fieldOf<std::uint32_t>(handle, TIFFTAG_ROWSPERSTRIP), page.rows);
    }
    if (page.blockColumns == 0 || page.blockRows == 0) {
        throw LoadingError("The file has " + String(page.tiled ? "tiles" : "strips") + " of no size.");
    }
    const auto blocksIn = [](std::uint32_t extent, std::uint32_t block) {
        return extent / block + (extent % block != 0 ? 1U : 0U);
    };
    // Tiles at the edge are stored in full, the last strip is cut.
    const std::uint64_t storedRows =
        page.tiled ? std::uint64_t{blocksIn(page.rows, page.blockRows)} * page.blockRows : page.rows;
    const std::uint64_t blocksAcross = blocksIn(page.columns, page.blockColumns);
    const std::uint64_t pixelBits = std::uint64_t{page.bits} * page.adjacentSamples();
    std::size_t bits = 0;
    std::size_t bytes = 0;
    if (!helper::checkedMultiply(page.blockColumns, pixelBits, bits) || bits > ~std::size_t{7} ||
        !helper::checkedMultiply((page.rowBytes = (bits + 7) / 8), storedRows, bytes) ||
        !helper::checkedMultiply(bytes, blocksAcross, bytes) ||
        !helper::checkedMultiply(bytes, page.sampleGroups(), bytes)) {
        throw LoadingError("The header promises more bytes of samples than 64 bits can count.");
    }
    page.decodedBytes = bytes;
    const std::uint64_t expected =
        page.tiled ? TIFFTileSize64(handle.get()) : TIFFVStripSize64(handle.get(), page.blockRows);
    handle.checkReading("The sizes in the TIFF header are damaged");
    if (expected != std::uint64_t{page.rowBytes} * page.blockRows) {
        throw LoadingError("The sizes in the TIFF header contradict each other.");
    }
}

}  // namespace

bool TiffPage::matches(const TiffPage& other) const {
    return columns == other.columns && rows == other.rows && channels == other.channels && voxelType == other.voxelType;
}

bool TiffPage::isPalette() const {
    return photometric == PHOTOMETRIC_PALETTE;
}

bool TiffPage::isPacked() const {
    return bits < 16 && bits != 8;
}

bool TiffPage::isInverted() const {
    return photometric == PHOTOMETRIC_MINISWHITE && !isConverted(stored) &&
           (voxelType == RIX_UINT8 || voxelType == RIX_UINT16 || voxelType == RIX_UINT32);
}

bool TiffPage::isMirroredInColumns() const {
    return orientation == ORIENTATION_TOPRIGHT || orientation == ORIENTATION_BOTRIGHT;
}

bool TiffPage::isMirroredInRows() const {
    return orientation == ORIENTATION_BOTRIGHT || orientation == ORIENTATION_BOTLEFT;
}

bool TiffPage::isDirect() const {
    return !tiled && adjacentSamples() == 1 && !isPacked() && !isPalette() && !isInverted() && !isConverted(stored) &&
           orientation == ORIENTATION_TOPLEFT;
}

const TiffCompression& tiffCompression(std::uint16_t code) {
    for (const TiffCompression& known : Compressions) {
        if (known.code == code && TIFFIsCODECConfigured(code) != 0) {
            return known;
        }
    }
    const TIFFCodec* codec = TIFFFindCODEC(code);
    throw LoadingError("The samples are compressed with " +
                       (codec != nullptr ? String(codec->name) : "method " + std::to_string(code)) +
                       ", which is not supported. Supported are none, LZW, deflate, PackBits, JPEG, LZMA, Zstandard "
                       "and the fax codes.");
}

TiffPage readTiffPage(TiffHandle& handle) {
    handle.checkReading("The TIFF directory is damaged");
    TiffPage page;
    page.columns = fieldOf<std::uint32_t>(handle, TIFFTAG_IMAGEWIDTH);
    page.rows = fieldOf<std::uint32_t>(handle, TIFFTAG_IMAGELENGTH);
    page.bits = fieldOf<std::uint16_t>(handle, TIFFTAG_BITSPERSAMPLE);
    page.samples = fieldOf<std::uint16_t>(handle, TIFFTAG_SAMPLESPERPIXEL);
    page.orientation = fieldOf<std::uint16_t>(handle, TIFFTAG_ORIENTATION);
    page.compression = fieldOf<std::uint16_t>(handle, TIFFTAG_COMPRESSION);
    page.separate = page.samples > 1 && fieldOf<std::uint16_t>(handle, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    if (page.columns == 0 || page.rows == 0 || page.samples == 0) {
        throw LoadingError("The picture is empty: " + std::to_string(page.columns) + " columns, " +
                           std::to_string(page.rows) + " rows, " + std::to_string(page.samples) + " samples a pixel.");
    }
    if (page.orientation == 0 || page.orientation > ORIENTATION_BOTLEFT) {
        throw LoadingError("The picture is stored transposed (orientation " + std::to_string(page.orientation) +
                           "). Supported are the orientations 1 to 4.");
    }
    const TiffCompression& compression = tiffCompression(page.compression);
    page.stored = storedTypeOf(fieldOf<std::uint16_t>(handle, TIFFTAG_SAMPLEFORMAT), page.bits);
    page.voxelType = voxelTypeOf(page.stored);
    if (TIFFGetField(handle.get(), TIFFTAG_PHOTOMETRIC, &page.photometric) != 1) {
        page.photometric = page.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }
    readColors(handle, page);
    readBlocks(handle, page);
    checkPromise(page.decodedBytes, handle.fileBytes(), compression.ratio, compression.name);
    return page;
}

bool isFullPage(TiffHandle& handle) {
    const auto kind = fieldOf<std::uint32_t>(handle, TIFFTAG_SUBFILETYPE);
    return (kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0;
}

bool isReducedPage(TiffHandle& handle) {
    const auto kind = fieldOf<std::uint32_t>(handle, TIFFTAG_SUBFILETYPE);
    return (kind & FILETYPE_REDUCEDIMAGE) != 0 && (kind & FILETYPE_MASK) == 0;
}

std::vector<std::uint8_t> readTiffPalette(TiffHandle& handle, const TiffPage& page) {
    const std::size_t entries = std::size_t{1} << page.bits;
    std::vector<std::uint8_t> samples;
    for (const std::uint16_t* part : paletteOf(handle)) {
        for (std::size_t i = 0; i < entries; ++i) {
            if (page.voxelType == RIX_UINT8) {
                samples.push_back(static_cast<std::uint8_t>(part[i] >> 8U));
            } else {
                const auto* bytes = reinterpret_cast<const std::uint8_t*>(&part[i]);
                samples.insert(samples.end(), bytes, bytes + sizeof(part[i]));
            }
        }
    }
    return samples;
}

}  // namespace rix::io
