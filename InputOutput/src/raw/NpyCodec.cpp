// NumPy's files of one array: a line of Python that tells type, order and shape, and the samples. There is no place for
// more: two and three axes are rows and columns, and planes before them; others have no meaning in the file.

#include <algorithm>
#include <array>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "HeaderText.h"
#include "RawSamples.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 1> Extensions{"npy"};
constexpr std::array<std::uint8_t, 6> Magic{0x93, 'N', 'U', 'M', 'P', 'Y'};
constexpr std::size_t Alignment = 64;

bool recognises(std::span<const std::uint8_t> beginning) {
    return beginning.size() >= Magic.size() && std::equal(Magic.begin(), Magic.end(), beginning.begin());
}

/// The text behind "'key':" in the header.
std::string_view valueOf(std::string_view header, std::string_view key) {
    for (const char quote : {'\'', '"'}) {
        const std::size_t found = header.find(quote + String(key) + quote);
        if (found != std::string_view::npos) {
            std::string_view rest = header.substr(found + key.size() + 2);
            rest.remove_prefix(std::min(rest.find_first_not_of(" :"), rest.size()));
            return rest;
        }
    }
    throw LoadingError("The header of the array doesn't tell its '" + String(key) + "'.");
}

void readType(std::string_view value, RawLayout& layout) {
    if (value.size() < 2) {
        failField("descr", value);
    }
    const String text(value.substr(1, value.find_first_of("'\"", 1) - 1));
    const bool quoted = value.starts_with('\'') || value.starts_with('"');
    const auto type =
        quoted && text.size() >= 3 ? storedTypeOfLetters(std::string_view(text).substr(1)) : std::nullopt;
    if (!type || (text[0] != '<' && text[0] != '>' && text[0] != '|' && text[0] != '=')) {
        throw LoadingError("The elements of the array are of the type " +
                           escapeText(value.substr(0, std::min<std::size_t>(value.find(", '"), 80))) +
                           ". Supported are bool, integers, and real and complex numbers of 16 to 64 bits a part.");
    }
    layout.stored = *type;
    layout.bigEndian = text[0] == '>';
    layout.info.interpretation = text[1] == 'b' ? RIX_BINARY : RIX_VALUE;
}

void readShape(std::string_view value, bool fortran, const ReadOptions& options, RawLayout& layout) {
    std::vector<std::size_t> shape;
    const std::size_t end = value.find(')');
    if (!value.starts_with('(') || end == std::string_view::npos) {
        failField("shape", value);
    }
    String inside(value.substr(1, end - 1));
    std::replace(inside.begin(), inside.end(), ',', ' ');
    for (const String& word : wordsOf(inside)) {
        const auto extent = parseCount(word);
        if (!extent) {
            failField("shape", value);
        }
        shape.push_back(*extent);
    }
    if (shape.size() > RIX_COMPONENTS_SIZE) {
        throw LoadingError("The array has " + std::to_string(shape.size()) + " axes; images have up to 5.");
    }
    layout.namedByImage = fortran;
    if (shape.size() > 3 && options.selection.axes.empty()) {
        warnOrRefuse(options, "The file doesn't tell what the " + std::to_string(shape.size()) +
                                  " axes of the array are: they are taken as " +
                                  (shape.size() == 4 ? "" : "channels, ") + "time, planes, rows and columns.");
    }
    layout.info.extents = {1, 1, 1, 1, 1};
    layout.axes.clear();
    for (std::size_t i = 0; i < shape.size(); ++i) {  // the last one is the fastest in Python's order
        layout.info.extents[i] = shape[shape.size() - 1 - i];
        layout.axes.push_back(static_cast<Components>(i));
    }
    if (fortran) {
        std::reverse(layout.axes.begin(), layout.axes.end());
    }
    if (layout.axes.empty()) {
        layout.axes.push_back(COLUMNS);
    }
}

RawLayout readHeader(InputFile& file, const ReadOptions& options) {
    std::array<std::uint8_t, 12> head{};
    const std::size_t count = file.readAt(0, head.data(), head.size());
    const bool isLong = head[6] >= 2;
    const std::size_t begin = isLong ? 12 : 10;
    std::uint64_t length = head[8] | std::uint64_t{head[9]} << 8U;
    if (isLong) {
        length |= std::uint64_t{head[10]} << 16U | std::uint64_t{head[11]} << 24U;
    }
    constexpr std::uint64_t longest = std::uint64_t{1} << 20U;
    if (count < begin || head[6] == 0 || head[6] > 3 || length > longest || begin + length > file.size()) {
        throw LoadingError("The header of the array is damaged: it promises " + std::to_string(length) +
                           " bytes, the file has " + std::to_string(file.size()) + '.');
    }
    String header(static_cast<std::size_t>(length), '\0');
    if (file.readAt(begin, header.data(), header.size()) != header.size()) {
        throw LoadingError("The header of the array ends early (truncated?).");
    }
    RawLayout layout;
    layout.info.format = "NumPy";
    readType(valueOf(header, "descr"), layout);
    const std::string_view order = valueOf(header, "fortran_order");
    if (!order.starts_with("True") && !order.starts_with("False")) {
        failField("fortran_order", order);
    }
    readShape(valueOf(header, "shape"), order.starts_with("True"), options, layout);
    layout.position = begin + length;
    checkRaw(file, options, layout);
    return layout;
}

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    return readHeader(file, options).info;
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    return readRaw(file, readHeader(file, options), options);
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    if (const String reason = refusalOfRaw("NumPy", image, options); !reason.empty()) {
        return reason;
    }
    if (options.compression == Compression::Deflate) {
        return "NumPy arrays have no compression.";
    }
    const ImageFileInfo info = describe(image);
    if ((info.extents[SEQUENCE] > 1 || info.extents[SPECTRAL_SERIES] > 1) && !options.dropMetadata) {
        return "NumPy arrays don't tell which of their axes is time or channels: " + helper::describeImage(image) +
               ". That " + String(CanBeLeftOut);
    }
    return lostCalibration("NumPy", info, options);
}

String typeText(const ImageFileInfo& info) {
    const std::size_t bytes = helper::getSizeOf(info.voxelType);
    char kind = 'u';
    switch (info.voxelType) {
        case RIX_INT8:
        case RIX_INT16:
        case RIX_INT32: kind = 'i'; break;
        case RIX_FLOAT32:
        case RIX_FLOAT64: kind = 'f'; break;
        case RIX_COMPLEX_FLOAT32:
        case RIX_COMPLEX_FLOAT64: kind = 'c'; break;
        default: kind = info.interpretation == RIX_BINARY && bytes == 1 ? 'b' : 'u';
    }
    return String(1, bytes == 1 ? '|' : writesBigEndian() ? '>' : '<') + kind + std::to_string(bytes);
}

void write(OutputFile& file, const std::filesystem::path&, const ImageModel& image, const WriteOptions&) {
    const ImageFileInfo info = describe(image);
    std::size_t axes = RIX_COMPONENTS_SIZE;
    while (axes > 2 && info.extents[axes - 1] == 1) {
        --axes;
    }
    String header = "{'descr': '" + typeText(info) + "', 'fortran_order': False, 'shape': (";
    for (std::size_t axis = axes; axis-- > 0;) {
        header += std::to_string(info.extents[axis]) + (axis > 0 ? ", " : "), }");
    }
    constexpr std::size_t headBytes = 10;
    header.append(Alignment - (headBytes + header.size() + 1) % Alignment, ' ');
    header += '\n';
    String head(Magic.begin(), Magic.end());
    head += {1, 0, static_cast<char>(header.size() & 0xFFU), static_cast<char>(header.size() >> 8U)};
    const auto sink = openSink(file, Packing::None);
    sink->write(head.data(), head.size());
    sink->write(header.data(), header.size());
    writeRaw(*sink, image, false);
    sink->finish();
}

}  // namespace

const Codec npyCodec{"NumPy", Extensions, &recognises, &refusal, &readInfo, &read, &write};

}  // namespace rix::io
