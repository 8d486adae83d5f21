#include "TiffStorage.h"

#include <algorithm>

#include <tiffio.h>

namespace rix::io {
namespace {

// Large enough that a strip compresses well and costs few calls, small enough to stay in the cache.
constexpr std::size_t StripBytes = std::size_t{256} << 10U;
// Offsets of 32 bits end at 4 GiB. Directories take 4 KiB a page at most, strips that don't compress grow by less
// than an eighth.
constexpr std::uint64_t ClassicLimit = std::uint64_t{1} << 32U;
constexpr std::uint64_t PageOverhead = 4096;

std::uint16_t formatOf(VoxelTypes type) {
    switch (type) {
        case RIX_UINT8:
        case RIX_UINT16:
        case RIX_UINT32: return SAMPLEFORMAT_UINT;
        case RIX_INT8:
        case RIX_INT16:
        case RIX_INT32: return SAMPLEFORMAT_INT;
        case RIX_FLOAT32:
        case RIX_FLOAT64: return SAMPLEFORMAT_IEEEFP;
        case RIX_COMPLEX_FLOAT32:
        case RIX_COMPLEX_FLOAT64: return SAMPLEFORMAT_COMPLEXIEEEFP;
    }
    return SAMPLEFORMAT_VOID;
}

std::size_t roundedUp(std::size_t extent, std::size_t block) {
    return block == 0 ? extent : (extent / block + (extent % block != 0 ? 1 : 0)) * block;
}

}  // namespace

bool hasColorPixels(const ImageFileInfo& info) {
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    return info.colorInterpretation == RGB && (channels == 3 || channels == 4);
}

TiffStorage::TiffStorage(const ImageFileInfo& info, const WriteOptions& options)
    : columns(info.extents[COLUMNS]),
      rows(info.extents[ROWS]),
      samples(hasColorPixels(info) ? info.extents[SPECTRAL_SERIES] : 1),
      axes{.channels = hasColorPixels(info) ? 1 : info.extents[SPECTRAL_SERIES],
           .slices = info.extents[PLANS],
           .frames = info.extents[SEQUENCE]},
      bits(static_cast<std::uint16_t>(helper::getSizeOf(info.voxelType) * 8)),
      format(formatOf(info.voxelType)),
      tiled(options.tileColumns != 0) {
    // Every program shows 1 bit as black and white; 0 and 1 among 256 greys are black.
    if (info.interpretation == RIX_BINARY && info.voxelType == RIX_UINT8 && samples == 1) {
        bits = 1;
    }
    blockColumns = tiled ? options.tileColumns : columns;
    blockRows = tiled ? options.tileRows
                      : std::clamp<std::size_t>(StripBytes / std::max<std::size_t>(bytesOf(columns), 1), 1, rows);
}

std::uint64_t TiffStorage::sampleBytes() const {
    // Tiles at the edge are stored in full, the last strip is cut.
    std::size_t bytes = bytesOf(blockColumns);
    const bool fits = helper::checkedMultiply(bytes, roundedUp(columns, blockColumns) / blockColumns, bytes) &&
                      helper::checkedMultiply(bytes, tiled ? roundedUp(rows, blockRows) : rows, bytes) &&
                      helper::checkedMultiply(bytes, pages(), bytes);
    return fits ? bytes : 0;
}

bool TiffStorage::needsBigTiff() const {
    // As floating-point numbers, which don't overflow: whether the estimate is a byte off doesn't matter.
    const auto across = static_cast<double>(roundedUp(columns, tiled ? blockColumns : 0));
    const auto down = static_cast<double>(roundedUp(rows, tiled ? blockRows : 0));
    const double bytesOfPixel = static_cast<double>(samples * bits) / 8.0;
    const double pageBytes =
        across * down * bytesOfPixel * 1.125 + static_cast<double>(rows) * 16.0 + static_cast<double>(PageOverhead);
    return pageBytes * static_cast<double>(pages()) >= static_cast<double>(ClassicLimit);
}

}  // namespace rix::io
