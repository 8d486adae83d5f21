#include "PngWriter.h"

#include <vector>

#include "../Metadata.h"
#include "../Resolution.h"
#include "../SampleRows.h"
#include "PngReader.h"
#include "PngSession.h"

namespace rix::io {
namespace {

// zlib: 0 stores, 9 is the slowest. 6 is where more effort stops paying.
constexpr int UsualLevel = 6;

int colorTypeOf(std::size_t channels) {
    switch (channels) {
        case 1: return PNG_COLOR_TYPE_GRAY;
        case 3: return PNG_COLOR_TYPE_RGB;
        default: return PNG_COLOR_TYPE_RGB_ALPHA;
    }
}

/// Every program shows 1 bit as black and white; 0 and 1 among 256 greys are black.
bool isOneBit(const ImageFileInfo& info) {
    return info.interpretation == RIX_BINARY && info.voxelType == RIX_UINT8 && info.extents[SPECTRAL_SERIES] == 1;
}

}  // namespace

String refusalOfPng(const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    const String shape = helper::describeImage(image);
    if (const String reason = refusalOfElements("PNG", image); !reason.empty()) {
        return reason;
    }
    if (info.voxelType != RIX_UINT8 && info.voxelType != RIX_UINT16) {
        return "PNG cannot hold samples of type " + helper::voxelTypesToString(info.voxelType) +
               ", only uint8 and uint16.";
    }
    if (info.extents[PLANS] != 1 || info.extents[SEQUENCE] != 1) {
        return "PNG cannot hold more than one plane: " + shape + '.';
    }
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    if (channels != 1 && !(info.colorInterpretation == RGB && (channels == 3 || channels == 4))) {
        return "PNG cannot hold " + std::to_string(channels) + " channels of colour interpretation " +
               helper::colorInterpretationToString(info.colorInterpretation) +
               ", only one, or three or four of colour interpretation RGB.";
    }
    if (info.extents[COLUMNS] > PNG_UINT_31_MAX || info.extents[ROWS] > PNG_UINT_31_MAX) {
        return "PNG cannot hold more than " + std::to_string(PNG_UINT_31_MAX) + " columns or rows: " + shape + '.';
    }
    if (options.compression == Compression::Lzw || options.compression == Compression::Zstd) {
        return "PNG has no " + String(options.compression == Compression::Lzw ? "LZW" : "Zstandard") +
               " compression, only deflate or none.";
    }
    if (options.tileColumns != 0 || options.tileRows != 0) {
        return "PNG has no tiles.";
    }
    return {};
}

void writePng(OutputFile& file, const std::filesystem::path&, const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    const std::size_t columns = info.extents[COLUMNS];
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    const std::size_t sampleBytes = helper::getSizeOf(info.voxelType);
    const int depth = isOneBit(info) ? 1 : static_cast<int>(sampleBytes * 8);
    const bool hasResolution = pixelsPerMetre(info).has_value();
    const PixelsPerMetre resolution = pixelsPerMetre(info).value_or(PixelsPerMetre{});
    String keyword = PngKeyword;
    String keys = formatOwnKeys(info);
    std::vector<std::uint8_t> pixels(columns * channels * sampleBytes);
    std::vector<std::uint8_t> channelRow(channels == 1 ? 0 : columns * sampleBytes);

    PngSession session(file);
    const bool begun = session.guarded([&] {
        png_structp png = session.png();
        png_set_IHDR(png, session.info(), static_cast<png_uint_32>(columns),
                     static_cast<png_uint_32>(info.extents[ROWS]), depth, colorTypeOf(channels), PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_compression_level(png, options.compression == Compression::None ? 0 : UsualLevel);
        if (options.compression == Compression::None || info.interpretation != RIX_VALUE) {
            png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);  // differences of labels have no pattern
        }
        if (hasResolution) {
            png_set_pHYs(png, session.info(), resolution.x, resolution.y, PNG_RESOLUTION_METER);
        }
        png_text text{};
        text.compression = PNG_TEXT_COMPRESSION_NONE;
        text.key = keyword.data();
        text.text = keys.data();
        text.text_length = keys.size();
        png_set_text(png, session.info(), &text, 1);
        png_write_info(png, session.info());
        if (sampleBytes == 2) {
            png_set_swap(png);  // samples of the file are big-endian
        } else if (depth == 1) {
            png_set_packing(png);
        }
    });
    if (!begun) {
        session.fail("Writing failed");
    }
    for (std::size_t row = 0; row < info.extents[ROWS]; ++row) {
        if (channels == 1) {
            readRow(image, pixels.data(), columns, 0, row, 0, 0, 0);
        }
        for (std::size_t channel = 0; channels > 1 && channel < channels; ++channel) {
            readRow(image, channelRow.data(), columns, 0, row, 0, 0, channel);
            copySamples(channelRow.data(), 1, pixels.data() + channel * sampleBytes, channels, columns, sampleBytes);
        }
        if (!session.guarded([&] { png_write_row(session.png(), pixels.data()); })) {
            session.fail("Writing failed");
        }
    }
    if (!session.guarded([&] { png_write_end(session.png(), nullptr); })) {
        session.fail("Writing failed");
    }
}

}  // namespace rix::io
