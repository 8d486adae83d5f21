#include "TiffWriter.h"

#include <algorithm>
#include <limits>
#include <vector>

#include <rix/exceptions/Exception.h>

#include "../SampleRows.h"
#include "ImageJ.h"
#include "TiffHandle.h"

namespace rix::io {
namespace {

// Large enough that a strip compresses well and costs few calls, small enough to stay in the cache.
constexpr std::size_t StripBytes = std::size_t{256} << 10U;
// A tile passes through memory as a whole.
constexpr std::size_t LargestTileSide = std::size_t{1} << 14U;
// The most pages that libtiff reads back.
constexpr std::size_t MostPages = 1048576;
// Offsets of 32 bits end at 4 GiB. Directories take 4 KiB a page at most, strips that don't compress grow by less
// than an eighth.
constexpr std::uint64_t ClassicLimit = std::uint64_t{1} << 32U;
constexpr std::uint64_t PageOverhead = 4096;

struct SampleFormat {
    std::uint16_t format;
    std::uint16_t bits;
};

SampleFormat sampleFormatOf(VoxelTypes type) {
    const auto bits = static_cast<std::uint16_t>(helper::getSizeOf(type) * 8);
    switch (type) {
        case RIX_UINT8:
        case RIX_UINT16:
        case RIX_UINT32: return {SAMPLEFORMAT_UINT, bits};
        case RIX_INT8:
        case RIX_INT16:
        case RIX_INT32: return {SAMPLEFORMAT_INT, bits};
        case RIX_FLOAT32:
        case RIX_FLOAT64: return {SAMPLEFORMAT_IEEEFP, bits};
        case RIX_COMPLEX_FLOAT32:
        case RIX_COMPLEX_FLOAT64: return {SAMPLEFORMAT_COMPLEXIEEEFP, bits};
    }
    return {SAMPLEFORMAT_VOID, bits};
}

/// Whether the channels are the samples of one pixel, as those of colours are, and not pages of their own.
bool hasColorPixels(const ImageFileInfo& info) {
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    return info.colorInterpretation == RGB && (channels == 3 || channels == 4);
}

class TiffWriter {
public:
    TiffWriter(OutputFile& file, const ImageModel& image, const WriteOptions& options)
        : m_image(image),
          m_options(options),
          m_info(describe(image)),
          m_samples(hasColorPixels(m_info) ? m_info.extents[SPECTRAL_SERIES] : 1),
          m_sampleBytes(helper::getSizeOf(m_info.voxelType)),
          m_axes{hasColorPixels(m_info) ? 1 : m_info.extents[SPECTRAL_SERIES], m_info.extents[PLANS],
                 m_info.extents[SEQUENCE]},
          m_handle(file, needsBigTiff()) {}

    void write() {
        const std::size_t pages = m_axes.pages().value_or(0);
        for (std::size_t page = 0; page < pages; ++page) {
            setFields(page == 0);
            const PagePosition position = positionOfPage(page, m_axes);
            if (m_options.tileColumns != 0) {
                writeBlocks(position, m_options.tileColumns, m_options.tileRows);
            } else {
                writeBlocks(position, m_info.extents[COLUMNS], rowsOfStrip());
            }
            if (TIFFWriteDirectory(m_handle.get()) == 0 || m_handle.hasErrors()) {
                m_handle.failWriting("Page " + std::to_string(page + 1) + " cannot be written");
            }
        }
        m_handle.close();
    }

private:
    bool isTiled() const { return m_options.tileColumns != 0; }
    std::size_t rowBytes() const { return m_info.extents[COLUMNS] * m_samples * m_sampleBytes; }

    std::size_t rowsOfStrip() const {
        return std::clamp<std::size_t>(StripBytes / rowBytes(), 1, m_info.extents[ROWS]);
    }

    bool needsBigTiff() const {
        if (m_options.bigTiff == BigTiff::Always) {
            return true;
        }
        const auto roundedUp = [](std::size_t extent, std::size_t block) {
            return block == 0 ? extent : (extent + block - 1) / block * block;
        };
        // As floating-point numbers, which don't overflow: whether the estimate is a byte off doesn't matter.
        const auto columns = static_cast<double>(roundedUp(m_info.extents[COLUMNS], m_options.tileColumns));
        const auto rows = static_cast<double>(roundedUp(m_info.extents[ROWS], m_options.tileRows));
        const double pageBytes = columns * rows * static_cast<double>(m_samples * m_sampleBytes) * 1.125 + rows * 16.0 +
                                 static_cast<double>(PageOverhead);
        const double bytes = pageBytes * static_cast<double>(m_axes.pages().value_or(0));
        return bytes >= static_cast<double>(ClassicLimit);
    }

    template <class... Values>
    void set(std::uint32_t tag, Values... values) {
        if (TIFFSetField(m_handle.get(), tag, values...) != 1) {
            m_handle.failWriting("A field of the TIFF directory cannot be written");
        }
    }

    // Fields are variable arguments in C: each value has to have just the type that libtiff takes out again.
    void setFields(bool first) {
        const SampleFormat format = sampleFormatOf(m_info.voxelType);
        set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(m_info.extents[COLUMNS]));
        set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(m_info.extents[ROWS]));
        set(TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(m_samples));
        set(TIFFTAG_BITSPERSAMPLE, static_cast<int>(format.bits));
        set(TIFFTAG_SAMPLEFORMAT, static_cast<int>(format.format));
        set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        set(TIFFTAG_PHOTOMETRIC, m_samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
        set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        if (m_samples == 4) {
            std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
            set(TIFFTAG_EXTRASAMPLES, 1, &alpha);
        }
        if (isTiled()) {
            set(TIFFTAG_TILEWIDTH, static_cast<std::uint32_t>(m_options.tileColumns));
            set(TIFFTAG_TILELENGTH, static_cast<std::uint32_t>(m_options.tileRows));
        } else {
            set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(rowsOfStrip()));
        }
        setCompression(format);
        setResolution();
        if (first) {
            set(TIFFTAG_IMAGEDESCRIPTION, formatDescription(m_info, m_axes).c_str());
        }
    }

    void setCompression(const SampleFormat& format) {
        if (m_options.compression != Compression::Lzw && m_options.compression != Compression::Deflate) {
            set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
            return;
        }
        set(TIFFTAG_COMPRESSION,
            m_options.compression == Compression::Lzw ? COMPRESSION_LZW : COMPRESSION_ADOBE_DEFLATE);
        // Differences of neighbours compress better, and every reader undoes them for these types.
        const bool integer = format.format == SAMPLEFORMAT_UINT || format.format == SAMPLEFORMAT_INT;
        if (integer && format.bits <= 16 && m_info.interpretation == RIX_VALUE) {
            set(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        }
    }

    void setResolution() {
        const double x = 1.0 / m_info.spacing[COLUMNS];
        const double y = 1.0 / m_info.spacing[ROWS];
        // The field is a quotient of two integers of 32 bits; the description has the exact value in any case.
        const auto holds = [](double value) { return value > 1e-9 && value < 4e9; };
        if (!holds(x) || !holds(y)) {
            return;
        }
        set(TIFFTAG_XRESOLUTION, x);
        set(TIFFTAG_YRESOLUTION, y);
        set(TIFFTAG_RESOLUTIONUNIT, m_info.spatialUnitName == "cm"     ? RESUNIT_CENTIMETER
                                    : m_info.spatialUnitName == "inch" ? RESUNIT_INCH
                                                                       : RESUNIT_NONE);
    }

    void writeBlocks(const PagePosition& position, std::size_t blockColumns, std::size_t blockRows) {
        const std::size_t pixelBytes = m_samples * m_sampleBytes;
        const std::size_t blockRowBytes = blockColumns * pixelBytes;
        for (std::size_t row = 0; row < m_info.extents[ROWS]; row += blockRows) {
            const std::size_t rows = std::min(blockRows, m_info.extents[ROWS] - row);
            for (std::size_t column = 0; column < m_info.extents[COLUMNS]; column += blockColumns) {
                const std::size_t columns = std::min(blockColumns, m_info.extents[COLUMNS] - column);
                // Afresh for every block, since libtiff computes the differences in place; beyond the image a tile
                // holds zeros.
                m_block.assign(blockRowBytes * (isTiled() ? blockRows : rows), 0);
                for (std::size_t i = 0; i < rows; ++i) {
                    fetchRow(m_block.data() + i * blockRowBytes, columns, column, row + i, position);
                }
                writeBlock(column, row);
            }
        }
    }

    void fetchRow(std::uint8_t* target, std::size_t count, std::size_t column, std::size_t row,
                  const PagePosition& position) {
        if (m_samples == 1) {
            readRow(m_image, target, count, column, row, position.slice, position.frame, position.channel);
            return;
        }
        m_row.resize(count * m_sampleBytes);
        for (std::size_t sample = 0; sample < m_samples; ++sample) {
            readRow(m_image, m_row.data(), count, column, row, position.slice, position.frame, sample);
            copySamples(m_row.data(), 1, target + sample * m_sampleBytes, m_samples, count, m_sampleBytes);
        }
    }

    void writeBlock(std::size_t column, std::size_t row) {
        const auto x = static_cast<std::uint32_t>(column);
        const auto y = static_cast<std::uint32_t>(row);
        const auto bytes = static_cast<tmsize_t>(m_block.size());
        TIFF* tiff = m_handle.get();
        const tmsize_t written =
            isTiled() ? TIFFWriteEncodedTile(tiff, TIFFComputeTile(tiff, x, y, 0, 0), m_block.data(), bytes)
                      : TIFFWriteEncodedStrip(tiff, TIFFComputeStrip(tiff, y, 0), m_block.data(), bytes);
        if (written != bytes || m_handle.hasErrors()) {
            m_handle.failWriting("Writing failed");
        }
    }

    const ImageModel& m_image;
    const WriteOptions& m_options;
    ImageFileInfo m_info;
    std::size_t m_samples;
    std::size_t m_sampleBytes;
    PageAxes m_axes;
    TiffHandle m_handle;
    std::vector<std::uint8_t> m_block;
    std::vector<std::uint8_t> m_row;
};

}  // namespace

String refusalOfTiff(const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    if (info.elementType != SINGLE) {
        return "TIFF cannot hold elements of type " + helper::elementTypesToString(info.elementType) +
               ", only scalars.";
    }
    if (std::find(info.extents.begin(), info.extents.end(), 0U) != info.extents.end()) {
        return "The image is empty: " + helper::describeImage(image) + '.';
    }
    constexpr std::size_t mostPixels = std::numeric_limits<std::uint32_t>::max();
    if (info.extents[COLUMNS] > mostPixels || info.extents[ROWS] > mostPixels) {
        return "TIFF cannot hold more than " + std::to_string(mostPixels) +
               " columns or rows: " + helper::describeImage(image) + '.';
    }
    const auto pages =
        PageAxes{hasColorPixels(info) ? 1 : info.extents[SPECTRAL_SERIES], info.extents[PLANS], info.extents[SEQUENCE]}
            .pages();
    if (!pages || *pages > MostPages) {
        return "TIFF cannot hold more than " + std::to_string(MostPages) + " pages: " + helper::describeImage(image) +
               '.';
    }
    const auto isSide = [](std::size_t side) { return side != 0 && side % 16 == 0 && side <= LargestTileSide; };
    if ((options.tileColumns != 0 || options.tileRows != 0) &&
        (!isSide(options.tileColumns) || !isSide(options.tileRows))) {
        return "TIFF cannot have tiles of " + std::to_string(options.tileColumns) + " x " +
               std::to_string(options.tileRows) + ", only of multiples of 16 up to " + std::to_string(LargestTileSide) +
               '.';
    }
    return {};
}

void writeTiff(OutputFile& file, const ImageModel& image, const WriteOptions& options) {
    TiffWriter(file, image, options).write();
}

}  // namespace rix::io
