#include "PngReader.h"

#include <array>
#include <cstring>
#include <vector>

#include <rix/exceptions/Exception.h>

#include "../Codec.h"
#include "../Metadata.h"
#include "../Resolution.h"
#include "../SampleRows.h"
#include "../raw/ByteStreams.h"
#include "PngSession.h"

namespace rix::io {
namespace {

/// What the chunks before the samples say.
struct PngHeader {
    png_uint_32 columns = 0;
    png_uint_32 rows = 0;
    int depth = 0;
    int color = 0;
    int interlacing = 0;
    bool transparency = false;  ///< a colour or palette entries are declared transparent
    png_uint_32 perUnit[2] = {0, 0};
    int unit = PNG_RESOLUTION_UNKNOWN;
    const char* text = nullptr;  ///< our own metadata, in libpng's memory
    std::size_t storedRowBytes = 0;

    bool isPalette() const { return color == PNG_COLOR_TYPE_PALETTE; }
    bool isGrey() const { return (color & PNG_COLOR_MASK_COLOR) == 0; }
    bool hasAlpha() const { return (color & PNG_COLOR_MASK_ALPHA) != 0 || transparency; }
    bool isBinary() const { return isGrey() && depth == 1 && !hasAlpha(); }
    std::size_t channels() const { return (isGrey() ? 1U : 3U) + (hasAlpha() ? 1U : 0U); }
};

/// Refuses a chunk that is longer than what remains of the file: libpng fills as many bytes with zeros before it
/// notices.
void checkChunks(InputFile& file) {
    constexpr std::uint64_t signatureBytes = 8;
    constexpr std::uint64_t frameBytes = 12;  // length, name and checksum
    std::array<std::uint8_t, 8> head{};
    std::uint64_t position = signatureBytes;
    while (file.readAt(position, head.data(), head.size()) == head.size()) {
        std::uint64_t length = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            length = length << 8U | head[i];
        }
        const String name(head.begin() + 4, head.end());
        if (length + frameBytes > file.size() - position) {
            throw LoadingError("The chunk '" + escapeText(name) + "' at byte " + std::to_string(position) +
                               " promises " + std::to_string(length) + " bytes; the file ends " +
                               std::to_string(file.size() - position) + " bytes from there (truncated?).");
        }
        if (name == "IEND") {
            break;
        }
        position += length + frameBytes;
    }
}

PngHeader readHeader(PngSession& session, std::uint64_t fileBytes) {
    PngHeader header;
    const bool done = session.guarded([&] {
        png_structp png = session.png();
        // A wrong checksum anywhere is damage; what isn't used isn't even unpacked.
        png_set_crc_action(png, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
        // A chunk cannot be longer than the file, so libpng needn't trust its length.
        png_set_chunk_malloc_max(png, fileBytes);
        static constexpr png_byte unused[] = "zTXt\0iTXt\0iCCP\0sPLT\0eXIf\0hIST\0pCAL";
        png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, unused, static_cast<int>(sizeof(unused) / 5));
        png_read_info(png, session.info());
        png_get_IHDR(png, session.info(), &header.columns, &header.rows, &header.depth, &header.color,
                     &header.interlacing, nullptr, nullptr);
        header.transparency = png_get_valid(png, session.info(), PNG_INFO_tRNS) != 0;
        png_get_pHYs(png, session.info(), &header.perUnit[0], &header.perUnit[1], &header.unit);
        header.storedRowBytes = png_get_rowbytes(png, session.info());
        png_textp texts = nullptr;
        const int count = png_get_text(png, session.info(), &texts, nullptr);
        for (int i = 0; i < count; ++i) {
            if (std::strcmp(texts[i].key, PngKeyword) == 0) {
                header.text = texts[i].text;
            }
        }
    });
    if (!done) {
        session.fail("The PNG header is damaged");
    }
    return header;
}

void applyDensity(const PngHeader& header, const ReadOptions& options, ImageFileInfo& info) {
    const double x = header.perUnit[0];
    const double y = header.perUnit[1];
    if (header.unit == PNG_RESOLUTION_METER) {
        applyResolution(x, y, options, info);
    } else if (isSpacing(x) && isSpacing(y)) {
        info.spacing[ROWS] = x / y;  // only the proportion of a pixel is known
    }
}

ImageFileInfo describeHeader(const PngHeader& header, std::uint64_t fileBytes, const ReadOptions& options) {
    std::size_t bytes = 0;
    if (!helper::checkedMultiply(header.storedRowBytes + 1, header.rows, bytes)) {
        throw LoadingError("The header promises more bytes of samples than 64 bits can count.");
    }
    checkPromise(bytes, fileBytes, DeflateRatio, "deflate");
    ImageFileInfo info;
    info.format = "PNG";
    info.storage = "deflate, " + std::to_string(header.depth) + " bits a sample";
    info.storage += header.isPalette() ? ", palette" : "";
    info.storage += header.interlacing != PNG_INTERLACE_NONE ? ", interlaced" : "";
    info.fileBytes = fileBytes;
    info.extents = {header.columns, header.rows, 1, 1, header.channels()};
    info.voxelType = header.depth == 16 ? RIX_UINT16 : RIX_UINT8;
    info.interpretation = header.isBinary() ? RIX_BINARY : RIX_VALUE;
    info.colorInterpretation = header.isGrey() ? UNKNOWN : RGB;
    applyDensity(header, options, info);
    if (header.text != nullptr) {
        applyOwnKeys(parseKeys(header.text), info);
    }
    return info;
}

/// Asks libpng for the samples as the image has them. Returns the number of passes over the rows.
int prepare(PngSession& session, const PngHeader& header, std::size_t rowBytes) {
    int passes = 1;
    const bool done = session.guarded([&] {
        png_structp png = session.png();
        if (header.isPalette()) {
            png_set_palette_to_rgb(png);
        } else if (header.isBinary()) {
            png_set_packing(png);
        } else if (header.isGrey() && header.depth < 8) {
            png_set_expand_gray_1_2_4_to_8(png);
        }
        if (header.transparency) {
            png_set_tRNS_to_alpha(png);
        }
        if (header.depth == 16) {
            png_set_swap(png);  // samples of the file are big-endian
        }
        passes = png_set_interlace_handling(png);
        png_read_update_info(png, session.info());
        if (png_get_rowbytes(png, session.info()) != rowBytes) {
            png_error(png, "rows of an unexpected length");
        }
    });
    if (!done) {
        session.fail("The PNG header is damaged");
    }
    return passes;
}

void readRowInto(PngSession& session, std::uint8_t* row) {
    if (!session.guarded([&] { png_read_row(session.png(), row, nullptr); })) {
        session.fail("The samples are damaged");
    }
}

}  // namespace

ImageFileInfo readPngInfo(InputFile& file, const ReadOptions& options) {
    checkChunks(file);
    PngSession session(file);
    return describeHeader(readHeader(session, file.size()), file.size(), options);
}

std::unique_ptr<MemoryImage> readPng(InputFile& file, const ReadOptions& options) {
    checkChunks(file);
    PngSession session(file);
    const PngHeader header = readHeader(session, file.size());
    const ImageFileInfo info = describeHeader(header, file.size(), options);
    PartialImage image(info, options);
    InterruptPoint interrupt(options.interrupted);
    const std::size_t channels = header.channels();
    const std::size_t sampleBytes = helper::getSizeOf(info.voxelType);
    const std::size_t rowBytes = header.columns * channels * sampleBytes;
    const int passes = prepare(session, header, rowBytes);

    // Grey rows are decoded in place. Colours and parts of rows go through a buffer: of a row, or with interlacing,
    // which comes back to every row several times, of all that are kept, and one for the others.
    const Indices& kept = image.kept(ROWS);
    const bool direct = channels == 1 && image.keepsAll({.row = kept.first}, header.columns);
    std::vector<std::uint8_t> buffer(
        direct && image.isWhole() ? 0 : rowBytes * (passes == 1 || direct ? 1 : kept.count + 1));
    // Without interlacing nothing behind the last row that is kept is looked at.
    const std::size_t lastRow = passes == 1 ? kept.end() : header.rows;
    for (int pass = 0; pass < passes; ++pass) {
        for (std::size_t row = 0; row < lastRow; ++row) {
            const bool keeps = kept.holds(row);
            std::uint8_t* target = keeps && direct        ? image.open({.row = row}, header.columns)
                                   : keeps && passes != 1 ? buffer.data() + (row - kept.first + 1) * rowBytes
                                                          : buffer.data();
            readRowInto(session, target);
            interrupt.pass(rowBytes);
            for (std::size_t channel = 0; keeps && !direct && pass + 1 == passes && channel < channels; ++channel) {
                image.put(target + channel * sampleBytes, channels, {.row = row, .channel = channel}, header.columns);
            }
        }
    }
    if (lastRow < header.rows) {
        return image.release();
    }
    if (!session.guarded([&] { png_read_end(session.png(), nullptr); })) {
        session.fail("The end of the file is damaged");
    }
    return image.release();
}

}  // namespace rix::io
