// PBM, PGM and PPM with binary samples. Calibration and meaning lie in comments, which other readers pass over.

#include <algorithm>
#include <array>
#include <cctype>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "../SampleRows.h"
#include "../raw/HeaderText.h"
#include "../raw/RawSamples.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 4> Extensions{"pgm", "ppm", "pbm", "pnm"};
constexpr std::string_view CommentStart = "# ";

bool recognises(std::span<const std::uint8_t> beginning) {
    return beginning.size() >= 3 && beginning[0] == 'P' && beginning[1] >= '1' && beginning[1] <= '6' &&
           std::isspace(beginning[2]) != 0;
}

struct PnmHeader {
    RawLayout layout;
    bool bits = false;  ///< eight pixels in a byte, 1 is black
};

/// The numbers of the header with the comments between them.
class PnmText {
public:
    explicit PnmText(InputFile& file) : m_file(file) {}

    std::size_t number() {
        String digits;
        for (char c = next(); true; c = next()) {
            if (c == '#') {
                comment();
                c = '\n';
            }
            if (std::isdigit(static_cast<unsigned char>(c)) != 0) {
                digits += c;
            } else if (std::isspace(static_cast<unsigned char>(c)) == 0) {
                failField("the header", digits + c);
            } else if (!digits.empty()) {
                break;
            }
        }
        const auto value = parseCount(digits);
        if (!value) {
            failField("the header", digits);
        }
        return *value;
    }

    std::uint64_t position() const { return m_position; }
    const String& comments() const { return m_comments; }

private:
    char next() {
        constexpr std::uint64_t longest = std::uint64_t{1} << 20U;
        char c = 0;
        if (m_position > longest || m_file.readAt(m_position, &c, 1) != 1) {
            throw LoadingError("The header has no end (truncated?).");
        }
        ++m_position;
        return c;
    }

    void comment() {
        for (char c = next(); true; c = next()) {
            if (c == '\n') {
                break;
            }
            m_comments +=
                m_comments.empty() || m_comments.back() == '\n' ? (c == ' ' ? "" : String(1, c)) : String(1, c);
        }
        m_comments += '\n';
    }

    InputFile& m_file;
    std::uint64_t m_position = 2;
    String m_comments;
};

PnmHeader readHeader(InputFile& file, const ReadOptions& options) {
    std::array<char, 2> magic{};
    file.readAt(0, magic.data(), magic.size());
    if (magic[1] < '4') {
        throw LoadingError("The samples are text. Supported are binary samples.");
    }
    PnmHeader header;
    RawLayout& layout = header.layout;
    header.bits = magic[1] == '4';
    PnmText text(file);
    const std::size_t columns = text.number();
    const std::size_t rows = text.number();
    const std::size_t largest = header.bits ? 1 : text.number();
    if (largest == 0 || largest > 65535) {
        failField("the largest value", std::to_string(largest));
    }
    layout.info.format = "PNM";
    layout.info.extents = {columns, rows, 1, 1, magic[1] == '6' ? 3U : 1U};
    layout.info.colorInterpretation = magic[1] == '6' ? RGB : UNKNOWN;
    layout.info.interpretation = header.bits ? RIX_BINARY : RIX_VALUE;
    layout.axes = {SPECTRAL_SERIES, COLUMNS, ROWS};
    layout.stored = largest < 256 ? StoredType::UInt8 : StoredType::UInt16;
    layout.bigEndian = true;
    layout.position = text.position();
    if (header.bits) {  // the check of raw samples counts whole bytes
        std::size_t bytes = 0;
        if (columns == 0 || rows == 0 || !helper::checkedMultiply((columns - 1) / 8 + 1, rows, bytes)) {
            throw LoadingError("The header promises no picture, or more bytes than 64 bits can count.");
        }
        layout.info.storage = "no compression, 1 bits a sample";
        layout.info.fileBytes = file.size();
        checkPromise(bytes, file.size() - layout.position, 1, "no compression");
    } else {
        checkRaw(file, options, layout);
    }
    applyOwnKeys(parseKeys(text.comments()), layout.info);
    return header;
}

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    return readHeader(file, options).layout.info;
}

std::unique_ptr<MemoryImage> readBits(InputFile& file, const RawLayout& layout, const ReadOptions& options) {
    PartialImage image(layout.info, options);
    const std::size_t columns = layout.info.extents[COLUMNS];
    std::vector<std::uint8_t> bytes((columns - 1) / 8 + 1);
    InterruptPoint interrupt(options.interrupted);
    const auto source = openSource(file, layout.position, false);
    const Indices& kept = image.kept(ROWS);
    source->skip(kept.first * bytes.size());
    for (std::size_t row = kept.first; row < kept.end(); ++row) {
        source->read(bytes.data(), bytes.size());
        interrupt.pass(columns);
        std::uint8_t* samples = image.open({.row = row}, columns);
        for (std::size_t i = 0; i < columns; ++i) {
            samples[i] = (bytes[i / 8] >> (7 - i % 8) & 1) == 0 ? 1 : 0;
        }
        image.close();
    }
    return image.release();
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    const PnmHeader header = readHeader(file, options);
    return header.bits ? readBits(file, header.layout, options) : readRaw(file, header.layout, options);
}

bool isOneBit(const ImageFileInfo& info) {
    return info.interpretation == RIX_BINARY && info.voxelType == RIX_UINT8 && info.extents[SPECTRAL_SERIES] == 1;
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    if (const String reason = refusalOfRaw("PNM", image, options); !reason.empty()) {
        return reason;
    }
    const ImageFileInfo info = describe(image);
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    if (info.voxelType != RIX_UINT8 && info.voxelType != RIX_UINT16) {
        return "PNM cannot hold samples of type " + helper::voxelTypesToString(info.voxelType) +
               ", only uint8 and uint16.";
    }
    if (info.extents[PLANS] != 1 || info.extents[SEQUENCE] != 1 ||
        (channels != 1 && !(channels == 3 && info.colorInterpretation == RGB))) {
        return "PNM cannot hold more than one plane of grey or RGB: " + helper::describeImage(image) + '.';
    }
    return options.compression == Compression::Deflate ? "PNM has no compression." : "";
}

void write(OutputFile& file, const std::filesystem::path&, const ImageModel& image, const WriteOptions&) {
    const ImageFileInfo info = describe(image);
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    const std::size_t columns = info.extents[COLUMNS];
    const bool bits = isOneBit(info);
    const std::size_t bytes = helper::getSizeOf(info.voxelType);
    String header = bits ? "P4\n" : channels == 3 ? "P6\n" : "P5\n";
    for (const auto& [key, value] : parseKeys(formatOwnKeys(info))) {
        header += String(CommentStart) + key + '=' + value + '\n';
    }
    header += std::to_string(columns) + ' ' + std::to_string(info.extents[ROWS]) + '\n';
    header += bits ? "" : bytes == 1 ? "255\n" : "65535\n";
    const auto sink = openSink(file, Packing::None);
    sink->write(header.data(), header.size());
    std::vector<std::uint8_t> row(columns * bytes);
    std::vector<std::uint8_t> line(bits ? (columns - 1) / 8 + 1 : row.size() * channels);
    for (std::size_t y = 0; y < info.extents[ROWS]; ++y) {
        for (std::size_t c = 0; c < channels; ++c) {
            readRow(image, row.data(), columns, 0, y, 0, 0, c);
            if (!bits) {
                copySamples(row.data(), 1, line.data() + c * bytes, channels, columns, bytes);
            }
        }
        if (bits) {
            std::fill(line.begin(), line.end(), std::uint8_t{0});
            for (std::size_t i = 0; i < columns; ++i) {
                line[i / 8] = static_cast<std::uint8_t>(line[i / 8] | ((row[i] == 0 ? 1U : 0U) << (7 - i % 8)));
            }
        } else if (!writesBigEndian()) {
            swapByteOrder(storedTypeOf(info.voxelType), line.data(), columns * channels);
        }
        sink->write(line.data(), line.size());
    }
}

}  // namespace

const Codec pnmCodec{"PNM", Extensions, &recognises, &refusal, &readInfo, &read, &write};

}  // namespace rix::io
