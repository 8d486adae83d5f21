// NRRD: a header of text with a field a line, and the samples behind it or in a file beside.

#include <algorithm>
#include <array>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "NrrdReader.h"
#include "World.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 2> Extensions{"nrrd", "nhdr"};

bool recognises(std::span<const std::uint8_t> beginning) {
    constexpr std::string_view magic = "NRRD000";
    return beginning.size() > magic.size() && std::equal(magic.begin(), magic.end(), beginning.begin());
}

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    return readNrrdHeader(file, options).info;
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    return readRaw(file, readNrrdHeader(file, options), options);
}

String refusal(const ImageModel& image, const WriteOptions& options) {
    return refusalOfRaw("NRRD", image, options);
}

String typeText(VoxelTypes type) {
    switch (type) {
        case RIX_FLOAT32:
        case RIX_COMPLEX_FLOAT32: return "float";
        case RIX_FLOAT64:
        case RIX_COMPLEX_FLOAT64: return "double";
        default: return helper::voxelTypesToString(type);
    }
}

String vectorText(const std::array<double, 3>& vector) {
    return '(' + formatNumber(vector[0]) + ',' + formatNumber(vector[1]) + ',' + formatNumber(vector[2]) + ')';
}

/// The fields of the header up to what tells where the samples are.
String headerText(const ImageFileInfo& info, bool compressed) {
    const bool complex = info.voxelType == RIX_COMPLEX_FLOAT32 || info.voxelType == RIX_COMPLEX_FLOAT64;
    const bool rgb =
        info.colorInterpretation == RGB && (info.extents[SPECTRAL_SERIES] == 3 || info.extents[SPECTRAL_SERIES] == 4);
    String sizes = complex ? " 2" : "";
    String kinds = complex ? " complex" : "";
    String directions = complex ? " none" : "";
    String units = complex ? " \"\"" : "";
    String spacings = complex ? " nan" : "";
    std::size_t dimension = complex ? 1 : 0;
    for (std::size_t axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
        if (axis > PLANS && info.extents[axis] == 1) {
            continue;
        }
        ++dimension;
        sizes += ' ' + std::to_string(info.extents[axis]);
        if (axis <= PLANS) {
            kinds += " domain";
            directions += ' ' + vectorText(stepOf(info, axis));
            units += " \"\"";
            continue;
        }
        kinds += axis == SEQUENCE ? " time" : !rgb ? " list" : (info.extents[axis] == 3 ? " RGB-color" : " RGBA-color");
        directions += " none";
        units += " \"" + (axis == SEQUENCE ? escapeText(info.sequenceUnitName) : String()) + '"';
    }
    // No field tells spacings of time beside directions: ours do.
    String text = "NRRD0005\ntype: " + typeText(info.voxelType) + "\ndimension: " + std::to_string(dimension) +
                  "\nspace dimension: 3\nsizes:" + sizes + "\nkinds:" + kinds + "\nspace directions:" + directions +
                  "\nspace origin: " + vectorText({info.origin[0], info.origin[1], info.origin[2]}) + '\n';
    if (!info.spatialUnitName.empty()) {
        const String unit = " \"" + escapeText(info.spatialUnitName) + '"';
        text += "space units:" + unit + unit + unit + '\n';
    }
    if (!info.sequenceUnitName.empty()) {
        text += "units:" + units + '\n';
    }
    text += String("encoding: ") + (compressed ? "gzip" : "raw") +
            "\nendian: " + (writesBigEndian() ? "big" : "little") + '\n';
    for (const auto& [key, value] : parseKeys(formatOwnKeys(info))) {
        text += key + ":=" + value + '\n';
    }
    return text;
}

void write(OutputFile& file, const std::filesystem::path& path, const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    const bool compressed = options.compression == Compression::Deflate;
    const Packing packing = compressed ? Packing::Gzip : Packing::None;
    String header = headerText(info, compressed);
    const auto headerSink = openSink(file, Packing::None);
    if (!isDetached(path, "nhdr")) {
        header += '\n';
        headerSink->write(header.data(), header.size());
        const auto sink = openSink(file, packing);
        writeRaw(*sink, image, false);
        sink->finish();
        return;
    }
    const std::filesystem::path data = writeRawBeside(path, compressed ? ".raw.gz" : ".raw", packing, image, false);
    header += "data file: " + data.filename().string() + '\n';
    headerSink->write(header.data(), header.size());
}

}  // namespace

const Codec nrrdCodec{"NRRD", Extensions, &recognises, &refusal, &readInfo, &read, &write};

}  // namespace rix::io
