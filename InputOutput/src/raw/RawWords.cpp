#include "RawWords.h"

#include <algorithm>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "RawSamples.h"

namespace rix::io {
namespace {

constexpr std::array<std::string_view, 8> Names{"type",    "size", "endian",  "offset",
                                                "spacing", "unit", "meaning", "color"};

constexpr std::array<std::pair<std::string_view, StoredType>, 13> Types{{
    {"uint8", StoredType::UInt8},
    {"int8", StoredType::Int8},
    {"uint16", StoredType::UInt16},
    {"int16", StoredType::Int16},
    {"uint32", StoredType::UInt32},
    {"int32", StoredType::Int32},
    {"uint64", StoredType::UInt64},
    {"int64", StoredType::Int64},
    {"float16", StoredType::Float16},
    {"float32", StoredType::Float32},
    {"float64", StoredType::Float64},
    {"complex-float32", StoredType::ComplexFloat32},
    {"complex-float64", StoredType::ComplexFloat64},
}};

constexpr std::array<std::pair<std::string_view, Interpretations>, 3> Meanings{
    {{"value", RIX_VALUE}, {"binary", RIX_BINARY}, {"label", RIX_LABEL}}};

/// "uint8, int8, ..."
template <class Table>
String namesOf(const Table& table) {
    String text;
    for (const auto& [name, value] : table) {
        text += (text.empty() ? "" : ", ") + String(name);
    }
    return text;
}

template <class Table>
auto valueOf(const Table& table, std::string_view part, std::string_view name) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto& entry) { return entry.first == name; });
    if (found == table.end()) {
        refuseSelection(part, "is none of " + namesOf(table) + '.');
    }
    return found->second;
}

/// The numbers of "512x512x20".
template <class Number>
std::vector<Number> numbersBetween(std::string_view part, std::string_view text, std::size_t most, const char* usage,
                                   std::optional<Number> (*parse)(std::string_view)) {
    std::vector<Number> numbers;
    while (true) {
        const std::size_t sign = text.find('x');
        const auto number = parse(trimmed(text.substr(0, sign)));
        if (!number || !isSpacing(static_cast<double>(*number)) || numbers.size() == most) {
            refuseSelection(part, usage);
        }
        numbers.push_back(*number);
        if (sign == std::string_view::npos) {
            return numbers;
        }
        text.remove_prefix(sign + 1);
    }
}

bool canBeWord(const String& unit) {
    return unit.find_first_of(",[]") == String::npos && unit == trimmed(unit);
}

}  // namespace

bool isRawWord(std::string_view name) {
    return std::find(Names.begin(), Names.end(), name) != Names.end();
}

void parseRawWord(std::string_view part, std::string_view name, std::string_view value, RawWords& words) {
    words.text += (words.text.empty() ? "" : ",") + String(part);
    if (name == "type") {
        valueOf(Types, part, value);
        words.type = value;
    } else if (name == "size") {
        words.size = numbersBetween(part, value, RIX_COMPONENTS_SIZE,
                                    "takes the numbers of columns, rows, planes, frames and channels as far as "
                                    "there are several: size=512x512x20.",
                                    &parseCount);
    } else if (name == "endian") {
        words.bigEndian =
            valueOf(std::array<std::pair<std::string_view, bool>, 2>{{{"little", false}, {"big", true}}}, part, value);
    } else if (name == "offset") {
        const auto offset = parseCount(value);
        if (!offset) {
            refuseSelection(part, "takes the number of bytes before the samples: offset=128.");
        }
        words.offset = *offset;
    } else if (name == "spacing") {
        words.spacing = numbersBetween(part, value, 3,
                                       "takes a spacing for all axes of space, or one for columns, rows and planes "
                                       "each: spacing=0.5x0.5x2.",
                                       &parseNumber);
    } else if (name == "unit") {
        words.unit = value;
    } else if (name == "meaning") {
        words.meaning = valueOf(Meanings, part, value);
    } else {
        words.rgb = valueOf(std::array<std::pair<std::string_view, bool>, 1>{{{"rgb", true}}}, part, value);
    }
}

void checkRawWords(const Selection& selection) {
    if (!selection.raw) {
        return;
    }
    const RawWords& words = *selection.raw;
    if (words.type.empty()) {
        refuseSelection(words.text,
                        "tells of a file without a header, and not what its samples are: type=uint16, "
                        "which is one of " +
                            namesOf(Types) + '.');
    }
    const auto numbers =
        std::count_if(selection.axes.begin(), selection.axes.end(), [](const auto& axis) { return !!axis.extent; });
    const auto axes = static_cast<std::ptrdiff_t>(selection.axes.size());
    if (words.size.empty() && (axes == 0 || numbers + 1 < axes)) {
        refuseSelection(words.text,
                        "leaves the sizes open: size=512x512x20 tells columns, rows and planes, or "
                        "axes=z20y512x512 also the order; one axis without a number gets what is there.");
    }
    if (!words.size.empty() && axes != 0) {
        if (numbers != 0) {
            refuseSelection(selection.axesText, "tells sizes, as size= does. One of both is enough.");
        }
        if (selection.axes.size() != words.size.size()) {
            refuseSelection(selection.axesText,
                            "names " + std::to_string(axes) + " axes, size= has " + std::to_string(words.size.size()) +
                                " numbers, which are those of columns, rows, planes, frames and channels as far as "
                                "they are named.");
        }
    }
}

StoredType storedTypeNamed(std::string_view name) {
    return valueOf(Types, name, name);
}

std::vector<RawAxis> axesOfRaw(const Selection& selection) {
    std::vector<RawAxis> axes;
    for (auto named = selection.axes.rbegin(); named != selection.axes.rend(); ++named) {
        axes.push_back({named->axis, named->extent});
    }
    const std::vector<std::size_t>& size = selection.raw->size;
    if (axes.empty()) {
        for (std::size_t i = 0; i < size.size(); ++i) {
            axes.push_back({static_cast<Components>(i)});
        }
    }
    for (std::size_t i = 0; i < axes.size() && !size.empty(); ++i) {
        // Sizes come in the order of an image, wherever the file has the axes.
        const auto before =
            std::count_if(axes.begin(), axes.end(), [&](const RawAxis& other) { return other.axis < axes[i].axis; });
        axes[i].extent = size[static_cast<std::size_t>(before)];
    }
    return axes;
}

String wordsOfRaw(const ImageFileInfo& info) {
    String text = "type=";
    const auto type = std::find_if(Types.begin(), Types.end(),
                                   [&](const auto& entry) { return entry.second == storedTypeOf(info.voxelType); });
    text += type->first;
    std::size_t axes = RIX_COMPONENTS_SIZE;
    while (axes > 2 && info.extents[axes - 1] == 1) {
        --axes;
    }
    for (std::size_t axis = 0; axis < axes; ++axis) {
        text += (axis == 0 ? ",size=" : "x") + std::to_string(info.extents[axis]);
    }
    if (helper::getSizeOf(info.voxelType) > 1) {
        text += String(",endian=") + (writesBigEndian() ? "big" : "little");
    }
    const ImageFileInfo usual;
    const auto& spacing = info.spacing;
    if (spacing[COLUMNS] != 1.0 || spacing[ROWS] != 1.0 || spacing[PLANS] != 1.0) {
        text += ",spacing=" + formatNumber(spacing[COLUMNS]) + 'x' + formatNumber(spacing[ROWS]) + 'x' +
                formatNumber(spacing[PLANS]);
    }
    if (!info.spatialUnitName.empty() && canBeWord(info.spatialUnitName)) {
        text += ",unit=" + info.spatialUnitName;
    }
    for (const auto& [name, meaning] : Meanings) {
        if (meaning == info.interpretation && meaning != usual.interpretation) {
            text += ",meaning=" + String(name);
        }
    }
    return text + (info.colorInterpretation == RGB ? ",color=rgb" : "");
}

ImageFileInfo untoldByWords(const ImageFileInfo& info) {
    const ImageFileInfo usual;
    ImageFileInfo untold = info;
    std::copy_n(usual.spacing.begin(), 3, untold.spacing.begin());
    if (canBeWord(info.spatialUnitName)) {
        untold.spatialUnitName.clear();
    }
    untold.interpretation = usual.interpretation;
    if (info.colorInterpretation == RGB && (info.extents[SPECTRAL_SERIES] == 3 || info.extents[SPECTRAL_SERIES] == 4)) {
        untold.colorInterpretation = UNKNOWN;
    }
    return untold;
}

}  // namespace rix::io
