// NIfTI, versions 1 and 2, plain or compressed as a whole. Its world points to the right and to the front: it is turned
// over to ours. What its fields hold roughly or not at all is in an extension that other readers pass over.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "../Units.h"
#include "HeaderText.h"
#include "NiftiHeader.h"
#include "RawSamples.h"
#include "World.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 2> Extensions{"nii", "nii.gz"};
constexpr int Rgb = 128;
constexpr int Rgba = 2304;
constexpr int LabelIntent = 1002;
constexpr std::int32_t CommentExtension = 6;
/// An extension begins and ends at multiples of this.
constexpr std::size_t ExtensionStep = 16;

struct TypeCode {
    int code;
    StoredType type;
};

constexpr std::array<TypeCode, 12> TypeCodes{{{2, StoredType::UInt8},
                                              {4, StoredType::Int16},
                                              {8, StoredType::Int32},
                                              {16, StoredType::Float32},
                                              {32, StoredType::ComplexFloat32},
                                              {64, StoredType::Float64},
                                              {256, StoredType::Int8},
                                              {512, StoredType::UInt16},
                                              {768, StoredType::UInt32},
                                              {1024, StoredType::Int64},
                                              {1280, StoredType::UInt64},
                                              {1792, StoredType::ComplexFloat64}}};

bool isGzip(std::span<const std::uint8_t> beginning) {
    return beginning.size() >= 3 && beginning[0] == 0x1F && beginning[1] == 0x8B && beginning[2] == 8;
}

bool recognises(std::span<const std::uint8_t> beginning) {
    return isGzip(beginning) || isNiftiBeginning(beginning.data(), beginning.size());
}

void readShape(const NiftiHeader& header, RawLayout& layout) {
    const auto& n = header.dimensions;
    const auto failShape = [&] {
        String text;
        for (const std::int64_t extent : n) {
            text += (text.empty() ? "" : " ") + std::to_string(extent);
        }
        failField("dimensions", text);
    };
    if (n[0] < 1 || n[0] > 7) {
        failShape();
    }
    layout.info.extents = {1, 1, 1, 1, 1};
    for (std::size_t axis = 0; axis < static_cast<std::size_t>(n[0]); ++axis) {
        const std::int64_t extent = n[axis + 1];
        if (extent < 1 || (axis >= RIX_COMPONENTS_SIZE && extent != 1)) {
            failShape();
        }
        if (axis < RIX_COMPONENTS_SIZE) {
            layout.info.extents[axis] = static_cast<std::size_t>(extent);
        }
    }
    if (header.type == Rgb || header.type == Rgba) {
        if (layout.info.extents[SPECTRAL_SERIES] != 1) {
            failShape();
        }
        layout.info.extents[SPECTRAL_SERIES] = header.type == Rgb ? 3 : 4;
        layout.info.colorInterpretation = RGB;
        layout.axes = {SPECTRAL_SERIES, COLUMNS, ROWS, PLANS, SEQUENCE};
        layout.stored = StoredType::UInt8;
        return;
    }
    const auto* found = std::find_if(TypeCodes.begin(), TypeCodes.end(),
                                     [&](const TypeCode& known) { return known.code == header.type; });
    if (found == TypeCodes.end()) {
        throw LoadingError("The samples are of NIfTI's type " + std::to_string(header.type) +
                           ". Supported are integers of 8 to 64 bits, real and complex numbers of 32 and 64 bits, and "
                           "RGB of 8 bits.");
    }
    layout.stored = found->type;
    const bool scaled =
        header.slope != 0.0 && !std::isnan(header.slope) && !(header.slope == 1.0 && header.intercept == 0.0);
    if (scaled) {
        if (!std::isfinite(header.slope) || !std::isfinite(header.intercept)) {
            throw LoadingError("The header scales samples by what is no number.");
        }
        layout.scale = std::pair(header.slope, header.intercept);
    }
    layout.info.interpretation = header.intent == LabelIntent && !scaled ? RIX_LABEL : RIX_VALUE;
}

/// The rotation of the header's quaternion, as the columns of steps between neighbours.
void applyQuaternion(const NiftiHeader& header, ImageFileInfo& info) {
    const auto [b, c, d] = header.quaternion;
    const double a = std::sqrt(std::max(0.0, 1.0 - (b * b + c * c + d * d)));
    const std::array<std::array<double, 3>, 3> rotation{
        {{a * a + b * b - c * c - d * d, 2 * (b * c - a * d), 2 * (b * d + a * c)},
         {2 * (b * c + a * d), a * a + c * c - b * b - d * d, 2 * (c * d - a * b)},
         {2 * (b * d - a * c), 2 * (c * d + a * b), a * a + d * d - b * b - c * c}}};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double side = axis == 2 && header.pixelSizes[0] < 0.0 ? -1.0 : 1.0;
        const double spacing = info.spacing[axis];
        setStep(info, axis, {rotation[0][axis] * side, rotation[1][axis] * side, rotation[2][axis] * side});
        info.spacing[axis] = spacing;
        info.origin[axis] = header.quaternionOffset[axis];
    }
    flipWorld(info, true, true);
}

void readCalibration(const NiftiHeader& header, const ReadOptions& options, ImageFileInfo& info) {
    for (std::size_t axis = 0; axis < 4; ++axis) {
        const double spacing = std::abs(header.pixelSizes[axis + 1]);
        info.spacing[axis] = isSpacing(spacing) ? spacing : 1.0;
    }
    bool finite = true;
    for (const auto& row : header.affine) {
        finite = finite && std::all_of(row.begin(), row.end(), [](double number) { return std::isfinite(number); });
    }
    for (std::size_t i = 0; i < 3; ++i) {
        finite = finite && std::isfinite(header.quaternion[i]) && std::isfinite(header.quaternionOffset[i]);
    }
    if (!finite) {
        throw LoadingError("The header places the image by what is no number.");
    }
    if (header.affineCode > 0) {
        ImageFileInfo placed = info;
        bool steps = true;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            steps = steps &&
                    setStep(placed, axis, {header.affine[0][axis], header.affine[1][axis], header.affine[2][axis]});
            placed.origin[axis] = header.affine[axis][3];
        }
        if (steps) {
            info = placed;
            flipWorld(info, true, true);
        } else {
            warnOrRefuse(options, "The header places the image by a map that isn't one: the map is passed over.");
        }
    } else if (header.quaternionCode > 0) {
        applyQuaternion(header, info);
    }
    switch (header.units & 7) {
        case 1: info.spatialUnitName = "m"; break;
        case 2: info.spatialUnitName = "mm"; break;
        case 3: info.spatialUnitName = "\u00B5m"; break;
        default: break;
    }
    switch (header.units & 56) {
        case 8: info.sequenceUnitName = "s"; break;
        case 16: info.sequenceUnitName = "ms"; break;
        case 24: info.sequenceUnitName = "\u00B5s"; break;
        default: break;
    }
}

/// Our own keys, from the extensions between header and samples.
MetadataKeys readExtensions(ByteSource& source, const NiftiHeader& header) {
    constexpr std::uint64_t longest = std::uint64_t{1} << 20U;
    if (header.position < header.bytes() + 4 || header.position - header.bytes() > longest) {
        return {};
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(header.position - header.bytes()));
    source.read(bytes.data(), bytes.size());
    for (std::size_t at = 4; bytes[0] != 0 && at + 8 <= bytes.size();) {
        std::array<std::int32_t, 2> head{};  // size and kind
        std::memcpy(head.data(), bytes.data() + at, sizeof(head));
        if (header.bigEndian != writesBigEndian()) {
            swapByteOrder(StoredType::Int32, reinterpret_cast<std::uint8_t*>(head.data()), head.size());
        }
        if (head[0] < 8 || static_cast<std::size_t>(head[0]) > bytes.size() - at) {
            break;
        }
        const auto size = static_cast<std::size_t>(head[0]);
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()) + at + 8, size - 8);
        if (head[1] == CommentExtension && text.starts_with("rix_size=")) {
            return parseKeys(text.substr(0, text.find('\0')));
        }
        at += size;
    }
    return {};
}

RawLayout readLayout(InputFile& file, const ReadOptions& options) {
    std::array<std::uint8_t, 4> beginning{};
    const std::size_t count = file.readAt(0, beginning.data(), beginning.size());
    RawLayout layout;
    layout.compressed = isGzip({beginning.data(), count});
    const auto source = openSource(file, 0, layout.compressed);
    const NiftiHeader header = readNiftiHeader(*source);
    layout.info.format = "NIfTI";
    layout.bigEndian = header.bigEndian;
    readShape(header, layout);
    readCalibration(header, options, layout.info);
    if (header.pair) {
        std::filesystem::path name = file.path().filename();
        name = layout.compressed ? name.stem() : name;
        layout.data = dataPath(file, name.replace_extension(layout.compressed ? ".img.gz" : ".img").string());
    } else if (header.position < header.bytes()) {
        throw LoadingError("The header says that the samples begin at byte " + std::to_string(header.position) +
                           ", inside the header.");
    } else {
        applyOwnKeys(readExtensions(*source, header), layout.info);
    }
    (layout.compressed ? layout.skipped : layout.position) = header.position;
    checkRaw(file, options, layout);
    return layout;
}

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    return readLayout(file, options).info;
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    return readRaw(file, readLayout(file, options), options);
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    return refusalOfRaw("NIfTI", image, options);
}

bool isRgb(const ImageFileInfo& info) {
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    return info.colorInterpretation == RGB && info.voxelType == RIX_UINT8 && (channels == 3 || channels == 4);
}

NiftiHeader headerOf(const ImageFileInfo& info) {
    NiftiHeader header;
    std::size_t dimensions = RIX_COMPONENTS_SIZE;
    while (dimensions > 3 && (info.extents[dimensions - 1] == 1 || (dimensions == 5 && isRgb(info)))) {
        --dimensions;
    }
    header.dimensions.fill(1);
    header.pixelSizes.fill(1.0);
    header.dimensions[0] = static_cast<std::int64_t>(dimensions);
    // The fields know metres, millimetres and micrometres: other lengths come to the one below.
    double factor = 1.0;
    if (const auto metres = metresOf(info.spatialUnitName)) {
        header.units = *metres >= 1.0 ? 1 : *metres >= 1e-3 ? 2 : 3;
        factor = *metres / (header.units == 1 ? 1.0 : header.units == 2 ? 1e-3 : 1e-6);
    }
    header.units |= info.sequenceUnitName == "s" || info.sequenceUnitName == "sec" ? 8
                    : info.sequenceUnitName == "ms"                                ? 16
                                                                                   : 0;
    for (std::size_t axis = 0; axis < dimensions; ++axis) {
        header.dimensions[axis + 1] = static_cast<std::int64_t>(info.extents[axis]);
        header.pixelSizes[axis + 1] = info.spacing[axis] * (axis < 3 ? factor : 1.0);
    }
    constexpr std::int64_t mostInVersion1 = 32767;
    header.version = *std::max_element(header.dimensions.begin(), header.dimensions.end()) > mostInVersion1 ? 2 : 1;
    header.intent = info.interpretation == RIX_LABEL ? LabelIntent : 0;
    if (isRgb(info)) {
        header.type = info.extents[SPECTRAL_SERIES] == 3 ? Rgb : Rgba;
    } else {
        header.type = std::find_if(TypeCodes.begin(), TypeCodes.end(), [&](const TypeCode& known) {
                          return known.type == storedTypeOf(info.voxelType);
                      })->code;
    }
    header.affineCode = 1;
    ImageFileInfo turned = info;
    flipWorld(turned, true, true);
    for (std::size_t i = 0; i < 3; ++i) {
        const auto step = stepOf(turned, i);
        for (std::size_t j = 0; j < 3; ++j) {
            header.affine[j][i] = step[j] * factor;
        }
        header.affine[i][3] = turned.origin[i] * factor;
    }
    return header;
}

void write(OutputFile& file, const std::filesystem::path& path, const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    const bool compressed = lowered(path.extension().string()) == ".gz";
    if (options.compression != Compression::FormatDefault &&
        compressed != (options.compression == Compression::Deflate)) {
        throw WritingError("NIfTI is compressed under the extension .nii.gz, and only there.");
    }
    NiftiHeader header = headerOf(info);
    const String keys = formatOwnKeys(info);
    const std::size_t extension = (keys.size() + 8 + 1 + ExtensionStep - 1) / ExtensionStep * ExtensionStep;
    header.position = header.bytes() + 4 + extension;
    std::vector<std::uint8_t> bytes = formatNiftiHeader(header);
    const std::size_t begin = bytes.size();
    bytes.resize(static_cast<std::size_t>(header.position));
    bytes[begin] = 1;  // extensions follow
    const std::array<std::int32_t, 2> head{static_cast<std::int32_t>(extension), CommentExtension};
    std::memcpy(bytes.data() + begin + 4, head.data(), sizeof(head));
    std::copy(keys.begin(), keys.end(), bytes.begin() + static_cast<std::ptrdiff_t>(begin + 12));
    const auto sink = openSink(file, compressed ? Packing::Gzip : Packing::None);
    sink->write(bytes.data(), bytes.size());
    writeRaw(*sink, image, isRgb(info));
    sink->finish();
}

}  // namespace

const Codec niftiCodec{"NIfTI", Extensions, &recognises, &refusal, &readInfo, &read, &write};

}  // namespace rix::io
