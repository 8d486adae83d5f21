#include "TiffWriter.h"

#include <algorithm>
#include <limits>
#include <vector>

#include <rix/exceptions/Exception.h>

#include "../SampleRows.h"
#include "ImageJ.h"
#include "PageDescription.h"
#include "TiffHandle.h"
#include "TiffStorage.h"

namespace rix::io {
namespace {

// A tile passes through memory as a whole.
constexpr std::size_t LargestTileSide = std::size_t{1} << 14U;
// The most pages that libtiff reads back.
constexpr std::size_t MostPages = 1048576;
/// Eight pixels in a byte, the first one in the highest place.
void packBits(const std::uint8_t* samples, std::size_t count, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | ((samples[i] & 1U) << (7 - i % 8)));
    }
}

class TiffWriter {
public:
    TiffWriter(OutputFile& file, const ImageModel& image, const WriteOptions& options, bool ome)
        : m_image(image),
          m_options(options),
          m_info(describe(image)),
          m_storage(m_info, options),
          m_ome(ome),
          m_sampleBytes(helper::getSizeOf(m_info.voxelType)),
          m_handle(file, options.bigTiff == BigTiff::Always || m_storage.needsBigTiff()) {}

    void write() {
        if (!isCompressed()) {
            m_handle.reserveSamples(m_storage.sampleBytes());
        }
        for (std::size_t page = 0; page < m_storage.pages(); ++page) {
            setFields(page == 0);
            m_handle.appendSamples(!isCompressed());
            writeBlocks(positionOfPage(page, m_storage.axes));
            m_handle.appendSamples(false);
            if (TIFFWriteDirectory(m_handle.get()) == 0 || m_handle.hasErrors()) {
                m_handle.failWriting("Page " + std::to_string(page + 1) + " cannot be written");
            }
        }
        m_handle.close();
    }

private:
    bool isCompressed() const {
        return m_options.compression != Compression::FormatDefault && m_options.compression != Compression::None;
    }

    template <class... Values>
    void set(std::uint32_t tag, Values... values) {
        if (TIFFSetField(m_handle.get(), tag, values...) != 1) {
            m_handle.failWriting("A field of the TIFF directory cannot be written");
        }
    }

    // Fields are variable arguments in C: each value has to have just the type that libtiff takes out again.
    void setFields(bool first) {
        set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(m_storage.columns));
        set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(m_storage.rows));
        set(TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(m_storage.samples));
        set(TIFFTAG_BITSPERSAMPLE, static_cast<int>(m_storage.bits));
        set(TIFFTAG_SAMPLEFORMAT, static_cast<int>(m_storage.format));
        set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        set(TIFFTAG_PHOTOMETRIC, m_storage.samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
        set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        if (m_storage.samples == 4) {
            std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
            set(TIFFTAG_EXTRASAMPLES, 1, &alpha);
        }
        if (m_storage.tiled) {
            set(TIFFTAG_TILEWIDTH, static_cast<std::uint32_t>(m_storage.blockColumns));
            set(TIFFTAG_TILELENGTH, static_cast<std::uint32_t>(m_storage.blockRows));
        } else {
            set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(m_storage.blockRows));
        }
        setCompression();
        setResolution();
        if (first) {
            const String text = m_ome ? formatOme(m_info, m_storage.axes, m_storage.samples, m_storage.bits)
                                      : formatDescription(m_info, m_storage.axes);
            set(TIFFTAG_IMAGEDESCRIPTION, text.c_str());
        }
    }

    void setCompression() {
        switch (m_options.compression) {
            case Compression::FormatDefault:
            case Compression::None: set(TIFFTAG_COMPRESSION, COMPRESSION_NONE); return;
            case Compression::Lzw: set(TIFFTAG_COMPRESSION, COMPRESSION_LZW); break;
            case Compression::Deflate: set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE); break;
            case Compression::Zstd: set(TIFFTAG_COMPRESSION, COMPRESSION_ZSTD); break;
        }
        // Differences of neighbours compress better, and every reader undoes them for these types.
        const bool integer = m_storage.format == SAMPLEFORMAT_UINT || m_storage.format == SAMPLEFORMAT_INT;
        if (integer && m_storage.bits <= 16 && m_info.interpretation == RIX_VALUE) {
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

    void writeBlocks(const PagePosition& position) {
        const std::size_t rowBytes = m_storage.bytesOf(m_storage.blockColumns);
        for (std::size_t row = 0; row < m_storage.rows; row += m_storage.blockRows) {
            const std::size_t rows = std::min(m_storage.blockRows, m_storage.rows - row);
            for (std::size_t column = 0; column < m_storage.columns; column += m_storage.blockColumns) {
                const std::size_t columns = std::min(m_storage.blockColumns, m_storage.columns - column);
                // Afresh for every block, since libtiff computes the differences in place; beyond the image a tile
                // holds zeros.
                m_block.assign(rowBytes * (m_storage.tiled ? m_storage.blockRows : rows), 0);
                for (std::size_t i = 0; i < rows; ++i) {
                    fetchRow(m_block.data() + i * rowBytes, columns, column, row + i, position);
                }
                writeBlock(column, row);
            }
        }
    }

    void fetchRow(std::uint8_t* target, std::size_t count, std::size_t column, std::size_t row,
                  const PagePosition& position) {
        if (m_storage.samples == 1 && !m_storage.isPacked()) {
            readRow(m_image, target, count, column, row, position.slice, position.frame, position.channel);
            return;
        }
        m_row.resize(count * m_sampleBytes);
        if (m_storage.isPacked()) {
            readRow(m_image, m_row.data(), count, column, row, position.slice, position.frame, position.channel);
            packBits(m_row.data(), count, target);
            return;
        }
        for (std::size_t sample = 0; sample < m_storage.samples; ++sample) {
            readRow(m_image, m_row.data(), count, column, row, position.slice, position.frame, sample);
            copySamples(m_row.data(), 1, target + sample * m_sampleBytes, m_storage.samples, count, m_sampleBytes);
        }
    }

    void writeBlock(std::size_t column, std::size_t row) {
        const auto x = static_cast<std::uint32_t>(column);
        const auto y = static_cast<std::uint32_t>(row);
        const auto bytes = static_cast<tmsize_t>(m_block.size());
        TIFF* tiff = m_handle.get();
        const tmsize_t written =
            m_storage.tiled ? TIFFWriteEncodedTile(tiff, TIFFComputeTile(tiff, x, y, 0, 0), m_block.data(), bytes)
                            : TIFFWriteEncodedStrip(tiff, TIFFComputeStrip(tiff, y, 0), m_block.data(), bytes);
        if (written != bytes || m_handle.hasErrors()) {
            m_handle.failWriting("Writing failed");
        }
    }

    const ImageModel& m_image;
    const WriteOptions& m_options;
    ImageFileInfo m_info;
    TiffStorage m_storage;
    bool m_ome;
    std::size_t m_sampleBytes;
    TiffHandle m_handle;
    std::vector<std::uint8_t> m_block;
    std::vector<std::uint8_t> m_row;
};

}  // namespace

String refusalOfTiff(const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    if (const String reason = refusalOfElements("TIFF", image); !reason.empty()) {
        return reason;
    }
    constexpr std::size_t mostPixels = std::numeric_limits<std::uint32_t>::max();
    if (info.extents[COLUMNS] > mostPixels || info.extents[ROWS] > mostPixels) {
        return "TIFF cannot hold more than " + std::to_string(mostPixels) +
               " columns or rows: " + helper::describeImage(image) + '.';
    }
    const auto pages = TiffStorage(info, options).axes.pages();
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

void writeTiff(OutputFile& file, const std::filesystem::path&, const ImageModel& image, const WriteOptions& options) {
    TiffWriter(file, image, options, false).write();
}

void writeOmeTiff(OutputFile& file, const std::filesystem::path&, const ImageModel& image,
                  const WriteOptions& options) {
    TiffWriter(file, image, options, true).write();
}

}  // namespace rix::io
