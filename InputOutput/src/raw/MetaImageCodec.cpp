// MetaImage: a header of lines "Key = value", and the samples behind it (.mha) or in a file beside (.mhd).

#include <algorithm>
#include <array>
#include <cmath>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "../Units.h"
#include "HeaderText.h"
#include "RawSamples.h"
#include "World.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 2> Extensions{"mha", "mhd"};

struct TypeName {
    const char* name;
    StoredType type;
};

/// Names of types, the one that is written first.
constexpr std::array<TypeName, 12> TypeNames{{{"MET_UCHAR", StoredType::UInt8},
                                              {"MET_CHAR", StoredType::Int8},
                                              {"MET_USHORT", StoredType::UInt16},
                                              {"MET_SHORT", StoredType::Int16},
                                              {"MET_UINT", StoredType::UInt32},
                                              {"MET_INT", StoredType::Int32},
                                              {"MET_FLOAT", StoredType::Float32},
                                              {"MET_DOUBLE", StoredType::Float64},
                                              {"MET_ULONG_LONG", StoredType::UInt64},
                                              {"MET_LONG_LONG", StoredType::Int64},
                                              {"MET_ULONG", StoredType::UInt32},
                                              {"MET_LONG", StoredType::Int32}}};

bool recognises(std::span<const std::uint8_t> beginning) {
    const std::string_view text(reinterpret_cast<const char*>(beginning.data()), beginning.size());
    constexpr std::array<std::string_view, 5> first{"ObjectType", "NDims", "Comment", "ObjectSubType", "BinaryData"};
    return std::any_of(first.begin(), first.end(), [&](std::string_view key) {
        return text.starts_with(key) && trimmed(text.substr(key.size())).starts_with('=');
    });
}

class MetaHeader {
public:
    MetaHeader(InputFile& file, const ReadOptions& options) : m_file(file), m_options(options) {}

    RawLayout read() {
        readKeys();
        ImageFileInfo& info = m_layout.info;
        info.format = "MetaImage";
        readShape();
        readCalibration();
        applyOwnKeys(m_keys, info);
        readPlace();
        checkRaw(m_file, m_options, m_layout);
        return m_layout;
    }

private:
    void readKeys() {
        HeaderText text(m_file);
        while (const auto line = text.next()) {
            const std::size_t sign = line->find('=');
            if (sign == String::npos) {
                if (!trimmed(*line).empty()) {
                    failField("a line", *line);
                }
                continue;
            }
            const String key = trimmed(line->substr(0, sign));
            m_keys.insert_or_assign(key, trimmed(line->substr(sign + 1)));
            if (key == "ElementDataFile") {  // the last one, by definition
                m_layout.position = text.position();
                return;
            }
        }
        throw LoadingError("The header doesn't tell where the samples are (truncated?).");
    }

    /// The value of the first of several keys that the header has.
    const String* find(std::initializer_list<const char*> names) const {
        for (const char* name : names) {
            if (const auto found = m_keys.find(name); found != m_keys.end()) {
                return &found->second;
            }
        }
        return nullptr;
    }

    bool isTrue(std::initializer_list<const char*> names) const {
        const String* value = find(names);
        return value != nullptr && (value->starts_with('T') || value->starts_with('t') || *value == "1");
    }

    void readShape() {
        const String* dimensions = find({"NDims"});
        const String* sizes = find({"DimSize"});
        const String* type = find({"ElementType"});
        const auto count = dimensions != nullptr ? parseCount(*dimensions) : std::nullopt;
        if (!count || *count == 0 || *count > 4 || sizes == nullptr || type == nullptr) {
            throw LoadingError("The header doesn't tell sizes (of up to 4 axes) and type of the image.");
        }
        m_dimensions = *count;
        const auto extents = countsOf(*sizes, m_dimensions, "DimSize");
        m_layout.info.extents = {1, 1, 1, 1, 1};
        std::copy(extents.begin(), extents.end(), m_layout.info.extents.begin());
        if (const String* channels = find({"ElementNumberOfChannels"})) {
            m_layout.info.extents[SPECTRAL_SERIES] = countsOf(*channels, 1, "ElementNumberOfChannels").front();
        }
        m_layout.axes = {SPECTRAL_SERIES, COLUMNS, ROWS, PLANS, SEQUENCE};
        // "..._ARRAY" says no more than that there are channels.
        const String plain = type->ends_with("_ARRAY") ? type->substr(0, type->size() - 6) : *type;
        const auto* found = std::find_if(TypeNames.begin(), TypeNames.end(),
                                         [&](const TypeName& known) { return known.name == plain; });
        if (found == TypeNames.end()) {
            failField("ElementType", *type);
        }
        m_layout.stored = found->type;
        if (const String* complex = find({"rix_complex"}); complex != nullptr && *complex == "True") {
            takeComplex();
        }
        m_layout.bigEndian = isTrue({"BinaryDataByteOrderMSB", "ElementByteOrderMSB"});
        m_layout.compressed = isTrue({"CompressedData"});
        if (find({"BinaryData"}) != nullptr && !isTrue({"BinaryData"})) {
            throw LoadingError("The samples are text. Supported are binary samples.");
        }
    }

    /// Every two channels are the parts of a number.
    void takeComplex() {
        std::size_t& channels = m_layout.info.extents[SPECTRAL_SERIES];
        const bool real = m_layout.stored == StoredType::Float32 || m_layout.stored == StoredType::Float64;
        if (!real || channels % 2 != 0) {
            failField("rix_complex", "True");
        }
        channels /= 2;
        m_layout.stored =
            m_layout.stored == StoredType::Float32 ? StoredType::ComplexFloat32 : StoredType::ComplexFloat64;
    }

    void readCalibration() {
        ImageFileInfo& info = m_layout.info;
        if (const String* spacings = find({"ElementSpacing", "ElementSize"})) {
            const auto numbers = numbersOf(*spacings, m_dimensions, "ElementSpacing");
            for (std::size_t axis = 0; axis < m_dimensions; ++axis) {
                info.spacing[axis] = isSpacing(std::abs(numbers[axis])) ? std::abs(numbers[axis]) : 1.0;
            }
        }
        if (const String* origin = find({"Offset", "Position", "Origin"})) {
            const auto numbers = numbersOf(*origin, m_dimensions, "Offset");
            std::copy(numbers.begin(), numbers.end(), info.origin.begin());
        }
        if (const String* matrix = find({"TransformMatrix", "Rotation", "Orientation"})) {
            const auto numbers = numbersOf(*matrix, m_dimensions * m_dimensions, "TransformMatrix");
            const std::size_t spatial = std::min<std::size_t>(m_dimensions, 3);
            for (std::size_t axis = 0; axis < spatial; ++axis) {
                std::array<double, 3> direction{};
                std::copy_n(numbers.begin() + static_cast<std::ptrdiff_t>(axis * m_dimensions), spatial,
                            direction.begin());
                const double spacing = info.spacing[axis];
                if (!setStep(info, axis, direction)) {
                    failField("TransformMatrix", *matrix);
                }
                info.spacing[axis] = spacing;
            }
            if (spatial == 2) {
                completeDirections(info);
            }
        }
        if (const String* unit = find({"DistanceUnits"}); unit != nullptr && *unit != "?") {
            info.spatialUnitName = unescapeText(*unit);
        }
    }

    void readPlace() {
        const String& name = *find({"ElementDataFile"});
        if (name == "LIST" || name.find('%') != String::npos) {
            throw LoadingError("The samples are in several files. Supported are files with all samples in one.");
        }
        if (name != "LOCAL" && name != "local") {
            m_layout.data = dataPath(m_file, name);
            m_layout.position = 0;
            if (const String* bytes = find({"HeaderSize"}); bytes != nullptr && *bytes != "0") {
                m_layout.position = countsOf(*bytes, 1, "HeaderSize").front();
            }
        }
    }

    InputFile& m_file;
    const ReadOptions& m_options;
    MetadataKeys m_keys;
    RawLayout m_layout;
    std::size_t m_dimensions = 0;
};

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    return MetaHeader(file, options).read().info;
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    return readRaw(file, MetaHeader(file, options).read(), options);
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    return refusalOfRaw("MetaImage", image, options);
}

bool isComplex(const ImageFileInfo& info) {
    return info.voxelType == RIX_COMPLEX_FLOAT32 || info.voxelType == RIX_COMPLEX_FLOAT64;
}

String typeText(VoxelTypes type) {
    const StoredType stored = type == RIX_COMPLEX_FLOAT32   ? StoredType::Float32
                              : type == RIX_COMPLEX_FLOAT64 ? StoredType::Float64
                                                            : storedTypeOf(type);
    return std::find_if(TypeNames.begin(), TypeNames.end(), [&](const TypeName& known) { return known.type == stored; })
        ->name;
}

/// The header up to the size of compressed samples.
String headerText(const ImageFileInfo& info) {
    const std::size_t dimensions = info.extents[SEQUENCE] > 1 ? 4 : info.extents[PLANS] > 1 ? 3 : 2;
    // Two dimensions are enough for a plane that lies in that of columns and rows at height 0.
    const ImageFileInfo plain;
    const bool flat = dimensions == 2 && info.spacing[PLANS] == 1.0 && info.origin[PLANS] == 0.0 &&
                      info.spatialDirections == plain.spatialDirections;
    const std::size_t n = flat ? 2 : std::max<std::size_t>(dimensions, 3);
    String sizes;
    String spacings;
    String origin;
    String matrix;
    for (std::size_t axis = 0; axis < n; ++axis) {
        sizes += ' ' + std::to_string(info.extents[axis]);
        spacings += ' ' + formatNumber(info.spacing[axis]);
        origin += ' ' + formatNumber(info.origin[axis]);
        ImageFileInfo unit = info;
        unit.spacing = plain.spacing;
        const auto direction = axis < 3 ? stepOf(unit, axis) : std::array<double, 3>{};
        for (std::size_t i = 0; i < n; ++i) {
            matrix += ' ' + formatNumber(axis == 3 ? (i == 3 ? 1.0 : 0.0) : i == 3 ? 0.0 : direction[i]);
        }
    }
    String text = "ObjectType = Image\nNDims = " + std::to_string(n) +
                  "\nBinaryData = True\nBinaryDataByteOrderMSB = " + (writesBigEndian() ? "True" : "False") +
                  "\nTransformMatrix =" + matrix + "\nOffset =" + origin + "\nElementSpacing =" + spacings +
                  "\nDimSize =" + sizes + '\n';
    for (const auto& [key, value] : parseKeys(formatOwnKeys(info))) {
        text += key + " = " + value + '\n';
    }
    for (const char* unit : {"mm", "um", "cm"}) {
        if (metresOf(unit) == metresOf(info.spatialUnitName)) {
            text += "DistanceUnits = " + String(unit) + '\n';
        }
    }
    const std::size_t channels = info.extents[SPECTRAL_SERIES] * (isComplex(info) ? 2 : 1);
    if (channels > 1) {
        text += "ElementNumberOfChannels = " + std::to_string(channels) + '\n';
    }
    text += isComplex(info) ? "rix_complex = True\n" : "";
    return text + "ElementType = " + typeText(info.voxelType) + '\n';
}

void write(OutputFile& file, const std::filesystem::path& path, const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    const bool compressed = options.compression == Compression::Deflate;
    const Packing packing = compressed ? Packing::Zlib : Packing::None;
    String header = headerText(info);
    const auto headerSink = openSink(file, Packing::None);
    constexpr std::string_view sizeKey = "CompressedData = True\nCompressedDataSize = ";
    if (isDetached(path, "mhd")) {
        const std::filesystem::path data = writeRawBeside(path, compressed ? ".zraw" : ".raw", packing, image, true);
        if (compressed) {
            header += String(sizeKey) + std::to_string(std::filesystem::file_size(data)) + '\n';
        }
        header += "ElementDataFile = " + data.filename().string() + '\n';
        headerSink->write(header.data(), header.size());
        return;
    }
    const std::size_t sizeAt = header.size() + sizeKey.size();
    if (compressed) {  // known when they are written: room for it is left
        header += String(sizeKey) + String(20, ' ') + '\n';
    }
    header += "ElementDataFile = LOCAL\n";
    headerSink->write(header.data(), header.size());
    const auto sink = openSink(file, packing);
    writeRaw(*sink, image, true);
    sink->finish();
    const String bytes = std::to_string(file.size() - header.size());
    if (compressed && !file.writeAt(sizeAt, bytes.data(), bytes.size())) {
        throw WritingError("Writing failed: " + file.failure() + '.');
    }
}

}  // namespace

const Codec metaImageCodec{"MetaImage", Extensions, &recognises, &refusal, &readInfo, &read, &write};

}  // namespace rix::io
