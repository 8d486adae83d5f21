// BMP without compression: grey, RGB and black and white, rows usually from the bottom up. It has no place for what is
// known of an image but a resolution in whole pixels a metre.

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "../Resolution.h"
#include "../SampleRows.h"
#include "../raw/RawSamples.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 1> Extensions{"bmp"};
constexpr std::size_t FileHeaderBytes = 14;
constexpr std::size_t InfoHeaderBytes = 40;
constexpr std::size_t HeaderBytes = FileHeaderBytes + InfoHeaderBytes;

bool recognises(std::span<const std::uint8_t> beginning) {
    return beginning.size() >= FileHeaderBytes && beginning[0] == 'B' && beginning[1] == 'M';
}

std::uint32_t numberAt(const std::uint8_t* bytes, std::size_t count) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        number |= std::uint32_t{bytes[i]} << (8 * i);
    }
    return number;
}

struct BmpHeader {
    ImageFileInfo info;
    std::size_t bits = 0;  ///< of a pixel
    bool topDown = false;
    std::uint64_t position = 0;
    std::size_t rowBytes = 0;
    std::vector<std::array<std::uint8_t, 4>> palette{};  ///< blue, green, red; one for every index

    std::size_t channels() const { return info.extents[SPECTRAL_SERIES]; }
};

void readPalette(InputFile& file, std::uint64_t position, std::size_t used, BmpHeader& header) {
    const std::size_t most = std::size_t{1} << header.bits;
    header.palette.resize(most);
    const std::size_t bytes = std::min(used == 0 ? most : used, most) * 4;
    if (file.readAt(position, header.palette.data(), bytes) != bytes) {
        throw LoadingError("The palette ends early (truncated?).");
    }
    const bool grey = std::all_of(header.palette.begin(), header.palette.end(),
                                  [](const auto& entry) { return entry[0] == entry[1] && entry[1] == entry[2]; });
    header.info.extents[SPECTRAL_SERIES] = grey ? 1 : 3;
    header.info.colorInterpretation = grey ? UNKNOWN : RGB;
    if (header.bits == 1 && grey && header.palette[0][0] == 0 && header.palette[1][0] == 255) {
        header.info.interpretation = RIX_BINARY;
    }
}

BmpHeader readHeader(InputFile& file, const ReadOptions& options) {
    std::array<std::uint8_t, HeaderBytes> bytes{};
    if (file.readAt(0, bytes.data(), bytes.size()) != bytes.size()) {
        throw LoadingError("The header ends early (truncated?).");
    }
    const std::uint32_t infoBytes = numberAt(&bytes[14], 4);
    const auto columns = static_cast<std::int32_t>(numberAt(&bytes[18], 4));
    const auto rows = static_cast<std::int32_t>(numberAt(&bytes[22], 4));
    const std::uint32_t compression = numberAt(&bytes[30], 4);
    BmpHeader header;
    header.bits = numberAt(&bytes[28], 2);
    const bool known =
        header.bits == 1 || header.bits == 4 || header.bits == 8 || header.bits == 24 || header.bits == 32;
    if (infoBytes < InfoHeaderBytes || compression != 0 || !known) {
        throw LoadingError("The picture has " + std::to_string(header.bits) + " bits a pixel and compression " +
                           std::to_string(compression) +
                           ". Supported are 1, 4, 8, 24 and 32 bits without compression.");
    }
    if (columns <= 0 || rows == 0) {
        throw LoadingError("The picture is empty: " + std::to_string(columns) + " columns, " + std::to_string(rows) +
                           " rows.");
    }
    header.topDown = rows < 0;
    header.position = numberAt(&bytes[10], 4);
    header.rowBytes = (static_cast<std::size_t>(columns) * header.bits + 31) / 32 * 4;
    const auto rowCount = static_cast<std::size_t>(std::abs(std::int64_t{rows}));
    ImageFileInfo& info = header.info;
    info.format = "BMP";
    info.storage = "no compression, " + std::to_string(header.bits) + " bits a pixel";
    info.fileBytes = file.size();
    info.extents = {static_cast<std::size_t>(columns), rowCount, 1, 1, 3};
    info.colorInterpretation = RGB;
    // Both factors have less than 40 bits.
    checkPromise(header.rowBytes * rowCount, file.size() - std::min(file.size(), header.position), 1, "no compression");
    if (header.bits <= 8) {
        readPalette(file, FileHeaderBytes + infoBytes, numberAt(&bytes[46], 4), header);
    }
    applyResolution(numberAt(&bytes[38], 4), numberAt(&bytes[42], 4), options, info);
    return header;
}

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    return readHeader(file, options).info;
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    const BmpHeader header = readHeader(file, options);
    PartialImage image(header.info, options);
    const std::size_t columns = header.info.extents[COLUMNS];
    const std::size_t rows = header.info.extents[ROWS];
    const Indices& kept = image.kept(ROWS);
    const std::size_t firstLine = header.topDown ? kept.first : rows - kept.end();
    const auto source = openSource(file, header.position, false);
    source->skip(firstLine * header.rowBytes);
    std::vector<std::uint8_t> line(header.rowBytes);
    InterruptPoint interrupt(options.interrupted);
    const bool binary = header.info.interpretation == RIX_BINARY;
    for (std::size_t i = firstLine; i < firstLine + kept.count; ++i) {
        source->read(line.data(), line.size());
        interrupt.pass(line.size());
        const std::size_t row = header.topDown ? i : rows - 1 - i;
        for (std::size_t channel = 0; channel < header.channels(); ++channel) {
            std::uint8_t* target = image.open({.row = row, .channel = channel}, columns);
            const std::size_t part = 2 - std::min<std::size_t>(channel, 2);  // red comes last in the file
            for (std::size_t x = 0; x < columns; ++x) {
                if (header.bits > 8) {
                    target[x] = line[x * header.bits / 8 + part];
                    continue;
                }
                const std::size_t bit = x * header.bits;
                const auto index = static_cast<std::size_t>(line[bit / 8] >> (8 - header.bits - bit % 8)) &
                                   ((std::size_t{1} << header.bits) - 1);
                target[x] = binary ? static_cast<std::uint8_t>(index) : header.palette[index][part];
            }
            image.close();
        }
    }
    return image.release();
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    if (const String reason = refusalOfRaw("BMP", image, options); !reason.empty()) {
        return reason;
    }
    ImageFileInfo info = describe(image);
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    if (info.voxelType != RIX_UINT8) {
        return "BMP cannot hold samples of type " + helper::voxelTypesToString(info.voxelType) + ", only uint8.";
    }
    constexpr std::size_t mostPixels = 1U << 30U;
    if (info.extents[PLANS] != 1 || info.extents[SEQUENCE] != 1 || info.extents[COLUMNS] > mostPixels ||
        info.extents[ROWS] > mostPixels || (channels != 1 && !(channels == 3 && info.colorInterpretation == RGB))) {
        return "BMP cannot hold more than one plane of grey or RGB: " + helper::describeImage(image) + '.';
    }
    if (options.compression == Compression::Deflate) {
        return "BMP has no such compression.";
    }
    info.colorInterpretation = channels == 3 ? UNKNOWN : info.colorInterpretation;  // of three channels it is told
    return lostCalibration("BMP", info, options);
}

void put(std::vector<std::uint8_t>& bytes, std::size_t place, std::uint64_t number, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[place + i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
}

void write(OutputFile& file, const std::filesystem::path&, const ImageModel& image, const WriteOptions&) {
    const ImageFileInfo info = describe(image);
    const std::size_t columns = info.extents[COLUMNS];
    const std::size_t rows = info.extents[ROWS];
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    const bool binary = info.interpretation == RIX_BINARY && channels == 1;
    const std::size_t bits = binary ? 1 : channels == 3 ? 24 : 8;
    const std::size_t entries = bits == 24 ? 0 : std::size_t{1} << bits;
    const std::size_t rowBytes = (columns * bits + 31) / 32 * 4;
    const std::size_t begin = HeaderBytes + 4 * entries;
    std::vector<std::uint8_t> header(begin);
    header[0] = 'B';
    header[1] = 'M';
    // The field has 32 bits; readers take the size from the picture.
    put(header, 2, std::min<std::uint64_t>(begin + rowBytes * rows, 0xFFFFFFFFU), 4);
    put(header, 10, begin, 4);
    put(header, 14, InfoHeaderBytes, 4);
    put(header, 18, columns, 4);
    put(header, 22, rows, 4);
    put(header, 26, 1, 2);
    put(header, 28, bits, 2);
    put(header, 46, entries, 4);
    for (std::size_t i = 0; i < entries; ++i) {
        put(header, HeaderBytes + 4 * i, 0x010101U * (i * 255 / (entries - 1)), 3);
    }
    const auto sink = openSink(file, Packing::None);
    sink->write(header.data(), header.size());
    std::vector<std::uint8_t> row(columns);
    std::vector<std::uint8_t> line(rowBytes);
    for (std::size_t i = 0; i < rows; ++i) {
        std::fill(line.begin(), line.end(), std::uint8_t{0});
        for (std::size_t channel = 0; channel < channels; ++channel) {
            readRow(image, row.data(), columns, 0, rows - 1 - i, 0, 0, channel);
            if (binary) {
                for (std::size_t x = 0; x < columns; ++x) {
                    line[x / 8] = static_cast<std::uint8_t>(line[x / 8] | (row[x] << (7 - x % 8)));
                }
            } else {
                copySamples(row.data(), 1, line.data() + (channels - 1 - channel), channels, columns, 1);
            }
        }
        sink->write(line.data(), line.size());
    }
}

}  // namespace

const Codec bmpCodec{"BMP", Extensions, &recognises, &refusal, &readInfo, &read, &write};

}  // namespace rix::io
