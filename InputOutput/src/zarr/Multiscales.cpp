// The attributes of OME-Zarr 0.4 (https://ngff.openmicroscopy.org/0.4/), and what versions before it left out.

#include "Multiscales.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include <nlohmann/json.hpp>

#include <rix/exceptions/Exception.h>

#include "../Units.h"
#include "ZarrArray.h"

namespace rix::io {
namespace {

using nlohmann::json;

constexpr std::size_t MostLevels = 64;
constexpr const char* OwnKeys = "rix";

struct UnitName {
    std::string_view image;
    std::string_view ome;
};
// The first of several that mean the same is what images get.
constexpr UnitName UnitNames[] = {
    {"µm", "micrometer"}, {"um", "micrometer"},  {"μm", "micrometer"},  {"micron", "micrometer"},
    {"nm", "nanometer"},  {"mm", "millimeter"},  {"cm", "centimeter"},  {"m", "meter"},
    {"km", "kilometer"},  {"pm", "picometer"},   {"inch", "inch"},      {"in", "inch"},
    {"s", "second"},      {"ms", "millisecond"}, {"µs", "microsecond"}, {"us", "microsecond"},
    {"ns", "nanosecond"}, {"min", "minute"},     {"h", "hour"},         {"d", "day"}};

String omeUnit(std::string_view unit) {
    for (const UnitName& name : UnitNames) {
        if (name.image == unit) {
            return String(name.ome);
        }
    }
    return String(unit);
}

String imageUnit(std::string_view unit) {
    for (const UnitName& name : UnitNames) {
        if (name.ome == unit) {
            return String(name.image);
        }
    }
    return String(unit);
}

String textOf(const json& object, const char* key) {
    const auto found = object.is_object() ? object.find(key) : object.end();
    return object.is_object() && found != object.end() && found->is_string() ? found->get<String>() : String();
}

const json& listOf(const json& object, const char* key) {
    static const json none = json::array();
    if (!object.is_object()) {
        return none;
    }
    const auto found = object.find(key);
    return found != object.end() && found->is_array() ? *found : none;
}

/// One of the two kinds of transformations that there are, one after the other.
void transform(const json& list, const std::vector<Components>& axes, const ReadOptions& options,
               Multiscales::Level& level) {
    for (const json& step : list) {
        const String type = textOf(step, "type");
        if (type == "identity") {
            continue;
        }
        const bool isScale = type == "scale";
        const json& numbers = listOf(step, isScale ? "scale" : "translation");
        bool isSound = (isScale || type == "translation") && numbers.size() == axes.size();
        for (const json& number : numbers) {
            isSound = isSound && number.is_number() && std::isfinite(number.get<double>()) &&
                      (!isScale || number.get<double>() > 0.0);
        }
        if (!isSound) {
            warnOrRefuse(options,
                         "The transformation " + quoted(step) + " is not one that images have: it is left out.");
            continue;
        }
        for (std::size_t i = 0; i < axes.size(); ++i) {
            const auto axis = static_cast<std::size_t>(axes[i]);
            const double number = numbers[i].get<double>();
            level.spacing[axis] *= isScale ? number : 1.0;
            level.origin[axis] = isScale ? level.origin[axis] * number : level.origin[axis] + number;
        }
    }
    for (const Components component : axes) {
        const auto axis = static_cast<std::size_t>(component);
        if (!std::isfinite(level.spacing[axis]) || level.spacing[axis] == 0.0 || !std::isfinite(level.origin[axis])) {
            warnOrRefuse(options, "The transformations together are more than numbers hold: they are left out.");
            level.spacing.fill(1.0);
            level.origin.fill(0.0);
        }
    }
}

/// Units of axes; those of planes and rows become that of columns.
void readUnits(const json& axes, Multiscales& image, const ReadOptions& options) {
    std::array<String, RIX_COMPONENTS_SIZE> units;
    for (std::size_t i = 0; i < axes.size() && i < image.axes.size(); ++i) {
        units[static_cast<std::size_t>(image.axes[i])] = imageUnit(textOf(axes[i], "unit"));
    }
    image.sequenceUnit = units[SEQUENCE];
    image.spatialUnit = units[COLUMNS];
    for (const std::size_t axis : {std::size_t{ROWS}, std::size_t{PLANS}}) {
        const bool isThere =
            std::find(image.axes.begin(), image.axes.end(), static_cast<Components>(axis)) != image.axes.end();
        if (!isThere || units[axis] == units[COLUMNS]) {
            continue;
        }
        const auto from = metresOf(units[axis]);
        const auto to = metresOf(units[COLUMNS]);
        if (!from || !to) {
            warnOrRefuse(options, "The axes have the units '" + escapeText(units[COLUMNS]) + "' and '" +
                                      escapeText(units[axis]) + "', which cannot be converted: the first is taken.");
            continue;
        }
        for (Multiscales::Level& level : image.levels) {
            level.spacing[axis] *= *from / *to;
            level.origin[axis] *= *from / *to;
        }
    }
}

bool isBelow(const String& path) {
    const std::filesystem::path way(path);
    return !path.empty() && path.find('\0') == String::npos && way.is_relative() &&
           std::none_of(way.begin(), way.end(), [](const auto& part) { return part == ".."; });
}

}  // namespace

Multiscales parseMultiscales(const json& attributes, const ReadOptions& options) {
    const json& list = listOf(attributes, "multiscales");
    Multiscales image;
    image.images = list.size();
    checkSeries(options.selection, image.images);
    const json& chosen = list[options.selection.series.value_or(0)];
    const String version = textOf(chosen, "version");
    if (!version.empty() && version != "0.1" && version != "0.2" && version != "0.3" && version != "0.4") {
        warnOrRefuse(options, "The image is of OME-Zarr version " + escapeText(version) + ", not 0.4 or before.");
    }
    const json& axes = listOf(chosen, "axes");
    const bool areNamed = !options.selection.axes.empty();
    if (areNamed) {
        for (const auto& axis : options.selection.axes) {
            image.axes.push_back(axis.axis);
        }
    } else if (axes.empty()) {  // versions before 0.3
        image.axes = {SEQUENCE, SPECTRAL_SERIES, PLANS, ROWS, COLUMNS};
    }
    for (const json& axis : axes) {
        if (!areNamed) {
            addAxis(image.axes, axis.is_string() ? axis.get<String>() : textOf(axis, "name"), textOf(axis, "type"));
        }
    }
    for (const json& level : listOf(chosen, "datasets")) {
        if (image.levels.size() == MostLevels) {
            throw LoadingError("The image promises more than " + std::to_string(MostLevels) + " levels.");
        }
        image.levels.push_back({textOf(level, "path")});
        if (!isBelow(image.levels.back().path)) {
            throw LoadingError("A level of the image lies at " +
                               quoted(level.is_object() ? level.value("path", json()) : level) +
                               ", which is not below its folder.");
        }
        transform(listOf(level, "coordinateTransformations"), image.axes, options, image.levels.back());
        transform(listOf(chosen, "coordinateTransformations"), image.axes, options, image.levels.back());
    }
    if (image.levels.empty()) {
        throw LoadingError("The image has no array: the attributes name no data sets.");
    }
    readUnits(axes, image, options);
    image.isLabels = attributes.contains("image-label");
    if (const auto own = attributes.find(OwnKeys); own != attributes.end() && own->is_object()) {
        for (const auto& [key, value] : own->items()) {
            if (value.is_string()) {
                image.ownKeys[key] = value.get<String>();
            }
        }
    }
    return image;
}

std::vector<String> axisNames(const json& attributes) {
    std::vector<String> names;
    for (const json& name : listOf(attributes, "_ARRAY_DIMENSIONS")) {
        names.push_back(name.is_string() ? name.get<String>() : quoted(name));
    }
    return names;
}

void calibrate(const Multiscales& multiscales, std::size_t level, ImageFileInfo& info) {
    info.interpretation = multiscales.isLabels ? RIX_LABEL : info.interpretation;
    applyOwnKeys(multiscales.ownKeys, info);
    const Multiscales::Level& first = multiscales.levels.front();
    const Multiscales::Level& told = multiscales.levels[level];
    const auto& directions = info.spatialDirections;
    const std::array ways{&directions.columnDirection, &directions.rowDirection, &directions.sliceDirection};
    std::array<double, 3> shift{};
    for (const Components component : multiscales.axes) {
        const auto axis = static_cast<std::size_t>(component);
        info.spacing[axis] = told.spacing[axis];
        // Levels lie from each other along the axes of the image, which may be turned in the world.
        const bool isStraight = axis > PLANS || (*ways[axis])[axis] == 1.0;
        info.origin[axis] = isStraight ? told.origin[axis] : first.origin[axis];
        for (std::size_t i = 0; !isStraight && i < shift.size(); ++i) {
            shift[i] += (told.origin[axis] - first.origin[axis]) * (*ways[axis])[i];
        }
    }
    for (std::size_t i = 0; i < shift.size(); ++i) {
        info.origin[i] += shift[i];
    }
    // The own name of a unit says the same more exactly, unless somebody has changed the unit since.
    if (omeUnit(info.spatialUnitName) != omeUnit(multiscales.spatialUnit)) {
        info.spatialUnitName = multiscales.spatialUnit;
    }
    const bool hasTime = info.extents[SEQUENCE] > 1;
    if (hasTime && omeUnit(info.sequenceUnitName) != omeUnit(multiscales.sequenceUnit)) {
        info.sequenceUnitName = multiscales.sequenceUnit;
    }
    if (info.voxelType >= RIX_FLOAT32 && info.interpretation == RIX_LABEL) {
        info.interpretation = RIX_VALUE;
    }
}

json formatMultiscales(const Multiscales& multiscales, const ImageFileInfo& info, const String& name) {
    json axes = json::array();
    for (const Components axis : multiscales.axes) {
        const bool isTime = axis == SEQUENCE;
        json entry = {{"name", String(1, letterOf(axis))},
                      {"type", isTime                    ? "time"
                               : axis == SPECTRAL_SERIES ? "channel"
                                                         : "space"}};
        const String unit =
            axis == SPECTRAL_SERIES ? "" : omeUnit(isTime ? info.sequenceUnitName : info.spatialUnitName);
        if (!unit.empty()) {
            entry["unit"] = unit;
        }
        axes.push_back(entry);
    }
    json levels = json::array();
    for (const Multiscales::Level& level : multiscales.levels) {
        json scale = json::array();
        json translation = json::array();
        for (const Components axis : multiscales.axes) {
            scale.push_back(level.spacing[static_cast<std::size_t>(axis)]);
            translation.push_back(level.origin[static_cast<std::size_t>(axis)]);
        }
        levels.push_back({{"path", level.path},
                          {"coordinateTransformations",
                           json::array({json{{"type", "scale"}, {"scale", scale}},
                                        json{{"type", "translation"}, {"translation", translation}}})}});
    }
    json own = json::object();
    for (const auto& [key, value] : parseKeys(formatOwnKeys(info))) {
        own[key] = value;
    }
    json image = json::object();
    image["version"] = "0.4";
    image["name"] = name;
    image["axes"] = axes;
    image["datasets"] = levels;
    json attributes = json::object();
    attributes["multiscales"] = json::array({image});
    attributes[OwnKeys] = own;
    if (multiscales.isLabels) {
        attributes["image-label"] = json::object({{"version", "0.4"}});
    }
    return attributes;
}

}  // namespace rix::io
