#include <rix/io/Selection.h>

#include <algorithm>
#include <charconv>
#include <system_error>

#include <rix/exceptions/Exception.h>

#include "Metadata.h"
#include "raw/RawWords.h"

namespace rix::io {
namespace {

constexpr std::string_view Letters = "xyztc";  // by Components

std::optional<std::int64_t> parseIndex(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

Selection::Range parseRange(std::string_view part, std::string_view value) {
    const auto indexOf = [&](std::string_view text) {
        const auto index = parseIndex(text);
        if (!index) {
            refuseSelection(
                part, "has '" + escapeText(text) +
                          "' for an index. An axis takes an index (3, or -1 for the last one) or a range (10:20, 10:, "
                          ":20, with the first index and without the last).");
        }
        return *index;
    };
    Selection::Range range{.text = String(part)};
    const std::size_t colon = value.find(':');
    if (colon == std::string_view::npos) {
        range.first = indexOf(value);
        range.single = true;
        return range;
    }
    const String first = trimmed(value.substr(0, colon));
    const String last = trimmed(value.substr(colon + 1));
    if (last.find(':') != String::npos) {
        refuseSelection(part, "has a step. A range has neighbours only: first:last.");
    }
    if (!first.empty()) {
        range.first = indexOf(first);
    }
    if (!last.empty()) {
        range.last = indexOf(last);
    }
    return range;
}

std::vector<Selection::NamedAxis> parseAxes(std::string_view part, std::string_view value) {
    std::vector<Selection::NamedAxis> axes;
    while (!value.empty()) {
        const std::size_t axis = Letters.find(value.front());
        if (axis == std::string_view::npos) {
            refuseSelection(
                part,
                "has '" + escapeText(value.substr(0, 1)) +
                    "' for an axis. Axes are named x, y, z, t and c, the slowest first: axes=tyx, or with numbers "
                    "of elements axes=tz10yx.");
        }
        const auto component = static_cast<Components>(axis);
        if (std::any_of(axes.begin(), axes.end(), [&](const auto& named) { return named.axis == component; })) {
            refuseSelection(part, "names the axis " + String(1, value.front()) + " twice.");
        }
        value.remove_prefix(1);
        const std::size_t digits = std::min(value.find_first_not_of("0123456789"), value.size());
        axes.push_back({component, std::nullopt});
        if (digits > 0) {
            axes.back().extent = parseCount(value.substr(0, digits));
            if (!axes.back().extent || *axes.back().extent == 0) {
                refuseSelection(part, "has an axis of " + escapeText(value.substr(0, digits)) + " elements.");
            }
            value.remove_prefix(digits);
        }
    }
    if (axes.empty()) {
        refuseSelection(part, "names no axis. Axes are x, y, z, t and c, the slowest first: axes=tyx.");
    }
    return axes;
}

void parsePart(std::string_view part, Selection& selection, std::vector<String>& names) {
    const std::size_t sign = part.find('=');
    const String name = trimmed(part.substr(0, sign));
    const String value = sign == std::string_view::npos ? String() : trimmed(part.substr(sign + 1));
    const std::size_t axis = name.size() == 1 ? Letters.find(name.front()) : std::string_view::npos;
    const bool known = axis != std::string_view::npos || name == "series" || name == "level" || name == "axes" || isRawWord(name);
    if (sign == std::string_view::npos || !known) {
        refuseSelection(part,
                        "means nothing. A selection has parts such as x=100:300, y=0:50, z=3, t=-1, c=0, series=1, "
                        "level=2 and axes=tyx, with commas between; for a file without a header also type=uint16, size=512x512x20, "
                        "endian=big, offset=128, spacing=0.5x0.5x2, unit=mm, meaning=label and color=rgb.");
    }
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        refuseSelection(part, "comes after another one of " + name + '.');
    }
    names.push_back(name);
    if (name == "series") {
        selection.series = parseCount(value);
        if (!selection.series) {
            refuseSelection(part, "takes the number of an image in the file, from 0: series=1.");
        }
    } else if (name == "level") {
        selection.level = parseCount(value);
        if (!selection.level) {
            refuseSelection(part, "takes the number of a level of the pyramid in the file, from 0: level=2.");
        }
    } else if (name == "axes") {
        selection.axes = parseAxes(part, value);
        selection.axesText = String(part);
    } else if (axis != std::string_view::npos) {
        selection.ranges[axis] = parseRange(part, value);
    } else {
        if (!selection.raw) {
            selection.raw.emplace();
        }
        parseRawWord(part, name, value, *selection.raw);
    }
}

}  // namespace

Selection parseSelection(std::string_view text) {
    Selection selection;
    std::vector<String> names;
    while (true) {
        const std::size_t comma = text.find(',');
        parsePart(trimmed(text.substr(0, comma)), selection, names);
        if (comma == std::string_view::npos) {
            checkRawWords(selection);
            return selection;
        }
        text.remove_prefix(comma + 1);
    }
}

char letterOf(Components axis) {
    return Letters[static_cast<std::size_t>(axis)];
}

void refuseSelection(std::string_view part, const String& reason) {
    throw SerializationException("The selection '" + escapeText(part) + "' " + reason);
}

SelectedFile splitSelection(const std::filesystem::path& name) {
    const String& text = name.native();
    const std::size_t begin = text.rfind('[');
    std::error_code error;
    if (begin == String::npos || begin == 0 || !text.ends_with(']') || std::filesystem::exists(name, error)) {
        return {name};
    }
    SelectedFile file{text.substr(0, begin), text.substr(begin + 1, text.size() - begin - 2)};
    if (file.selection.find('=') == String::npos && !std::filesystem::is_regular_file(file.path, error)) {
        return {name};
    }
    return file;
}

}  // namespace rix::io
