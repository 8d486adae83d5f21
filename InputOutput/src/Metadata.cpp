#include "Metadata.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <span>
#include <utility>

namespace rix::io {
namespace {

constexpr char32_t InvalidSequence = 0xFFFFFFFF;

/// The code point at the beginning of `text`, which loses its bytes; `InvalidSequence`, and one byte less, for none.
char32_t takeCodePoint(std::string_view& text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 && lead < 0xF8 ? 4 : lead >= 0xE0 ? 3 : 2;
    char32_t code = length == 1 ? lead : lead & (0x7FU >> length);
    bool valid = length == 1 || (lead >= 0xC2 && lead < 0xF5 && length <= text.size());
    for (std::size_t i = 1; valid && i < length; ++i) {
        valid = (byte(i) & 0xC0U) == 0x80;
        code = (code << 6U) | (byte(i) & 0x3FU);
    }
    // Forms longer than needed and halves of surrogate pairs are no UTF-8.
    valid = valid && !(length == 3 && code < 0x800) && !(length == 4 && (code < 0x10000 || code > 0x10FFFF)) &&
            !(code >= 0xD800 && code < 0xE000);
    text.remove_prefix(valid ? length : 1);
    return valid ? code : InvalidSequence;
}

void appendUtf8(String& text, char32_t code) {
    const auto put = [&](char32_t value) { text += static_cast<char>(static_cast<unsigned char>(value)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0U | (code >> 6U));
        put(0x80U | (code & 0x3FU));
    } else if (code < 0x10000) {
        put(0xE0U | (code >> 12U));
        put(0x80U | ((code >> 6U) & 0x3FU));
        put(0x80U | (code & 0x3FU));
    } else {
        put(0xF0U | (code >> 18U));
        put(0x80U | ((code >> 12U) & 0x3FU));
        put(0x80U | ((code >> 6U) & 0x3FU));
        put(0x80U | (code & 0x3FU));
    }
}

void appendEscape(String& text, char32_t unit) {
    constexpr char digits[] = "0123456789ABCDEF";
    text += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += digits[(unit >> static_cast<unsigned>(shift)) & 0xFU];
    }
}

/// The UTF-16 unit of an escape \uXXXX at the beginning of `text`.
std::optional<char32_t> unitOfEscape(std::string_view text) {
    if (text.size() < 6 || text[0] != '\\' || text[1] != 'u') {
        return std::nullopt;
    }
    unsigned unit = 0;
    const auto [end, error] = std::from_chars(text.data() + 2, text.data() + 6, unit, 16);
    if (error != std::errc() || end != text.data() + 6) {
        return std::nullopt;
    }
    return unit;
}

String joinNumbers(std::span<const double> numbers) {
    String text;
    for (const double number : numbers) {
        text += (text.empty() ? "" : " ") + formatNumber(number);
    }
    return text;
}

/// Fills `numbers` from a text of just as many finite numbers; false, and nothing changed, for another text.
bool splitNumbers(std::string_view text, std::span<double> numbers) {
    std::array<double, 9> values{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::size_t end = text.find(' ');
        if ((end == std::string_view::npos) != (i + 1 == numbers.size())) {
            return false;
        }
        const auto value = parseNumber(text.substr(0, end));
        if (!value) {
            return false;
        }
        values[i] = *value;
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    std::copy_n(values.begin(), numbers.size(), numbers.begin());
    return true;
}

String sizeText(const ImageFileInfo& info) {
    String text;
    for (const std::size_t extent : info.extents) {
        text += (text.empty() ? "" : " ") + std::to_string(extent);
    }
    return text;
}

template <class Value, class ToText>
void applyLabel(const MetadataKeys& keys, std::string_view key, std::initializer_list<Value> values, ToText toText,
                Value& target) {
    const auto found = keys.find(key);
    for (const Value value : values) {
        if (found != keys.end() && found->second == toText(value)) {
            target = value;
        }
    }
}

void applyText(const MetadataKeys& keys, std::string_view key, String& target) {
    if (const auto found = keys.find(key); found != keys.end()) {
        target = unescapeText(found->second);
    }
}

}  // namespace

MetadataKeys parseKeys(std::string_view text) {
    MetadataKeys keys;
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\r\n");
        const std::string_view line = text.substr(0, end);
        if (const std::size_t separator = line.find('='); separator != std::string_view::npos && separator > 0) {
            keys.insert_or_assign(String(line.substr(0, separator)), String(line.substr(separator + 1)));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return keys;
}

String escapeText(std::string_view text) {
    String result;
    while (!text.empty()) {
        const unsigned char lead = static_cast<unsigned char>(text.front());
        char32_t code = takeCodePoint(text);
        if (code == InvalidSequence) {
            code = lead;
        }
        if (code == '\\') {
            result += "\\\\";
        } else if (code >= 0x20 && code < 0x7F) {
            result += static_cast<char>(code);
        } else if (code < 0x10000) {
            appendEscape(result, code);
        } else {
            appendEscape(result, 0xD800U + ((code - 0x10000U) >> 10U));
            appendEscape(result, 0xDC00U + ((code - 0x10000U) & 0x3FFU));
        }
    }
    return result;
}

String unescapeText(std::string_view text) {
    String result;
    while (!text.empty()) {
        if (const auto unit = unitOfEscape(text)) {
            text.remove_prefix(6);
            char32_t code = *unit;
            const auto low = unitOfEscape(text);
            if (code >= 0xD800 && code < 0xDC00 && low && *low >= 0xDC00 && *low < 0xE000) {
                code = 0x10000U + ((code - 0xD800U) << 10U) + (*low - 0xDC00U);
                text.remove_prefix(6);
            } else if (code >= 0xD800 && code < 0xE000) {
                code = U'?';  // half of a pair stands for nothing
            }
            appendUtf8(result, code);
        } else if (text.substr(0, 2) == "\\\\") {
            result += '\\';
            text.remove_prefix(2);
        } else {
            const unsigned char lead = static_cast<unsigned char>(text.front());
            const char32_t code = takeCodePoint(text);
            appendUtf8(result, code == InvalidSequence ? lead : code);
        }
    }
    return result;
}

String trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == std::string_view::npos ? String()
                                           : String(text.substr(begin, text.find_last_not_of(" \t") - begin + 1));
}

String formatNumber(double number) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::optional<double> parseNumber(std::string_view text) {
    double number = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

std::optional<std::size_t> parseCount(std::string_view text) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

std::optional<double> numberOf(const MetadataKeys& keys, std::string_view key) {
    const auto found = keys.find(key);
    return found == keys.end() ? std::nullopt : parseNumber(found->second);
}

bool isSpacing(double value) {
    return std::isfinite(value) && value > 0.0;
}

ImageFileInfo describe(const ImageModel& image) {
    ImageFileInfo info;
    static_cast<ImageHeader&>(info) = helper::headerOf(image);
    for (double& spacing : info.spacing) {
        spacing = isSpacing(spacing) ? spacing : 1.0;
    }
    for (double& origin : info.origin) {
        origin = std::isfinite(origin) ? origin : 0.0;
    }
    return info;
}

String refusalOfElements(const String& format, const ImageModel& image) {
    if (image.getElementType() != SINGLE) {
        return format + " cannot hold elements of type " + helper::elementTypesToString(image.getElementType()) +
               ", only scalars.";
    }
    const auto extents = helper::getExtents(image);
    if (std::find(extents.begin(), extents.end(), 0U) != extents.end()) {
        return "The image is empty: " + helper::describeImage(image) + '.';
    }
    return {};
}

String formatOwnKeys(const ImageFileInfo& info) {
    const ImageFileInfo usual;
    String text;
    const auto put = [&](const char* key, const String& value) { text += String(key) + '=' + value + '\n'; };
    put("rix_size", sizeText(info));
    put("rix_interpretation", helper::interpretationsToString(info.interpretation));
    if (info.interpretation == RIX_LABEL && info.labelScope != usual.labelScope) {
        put("rix_labels", helper::labelScopeToString(info.labelScope));
    }
    put("rix_color", helper::colorInterpretationToString(info.colorInterpretation));
    if (info.spacing != usual.spacing) {
        put("rix_spacing", joinNumbers(info.spacing));
    }
    if (info.origin != usual.origin) {
        put("rix_origin", joinNumbers(info.origin));
    }
    if (!(info.spatialDirections == usual.spatialDirections)) {
        std::array<double, 9> numbers{};
        auto out = numbers.begin();
        for (const auto* direction : {&info.spatialDirections.columnDirection, &info.spatialDirections.rowDirection,
                                      &info.spatialDirections.sliceDirection}) {
            out = std::copy(direction->begin(), direction->end(), out);
        }
        put("rix_directions", joinNumbers(numbers));
    }
    put("rix_unit", escapeText(info.spatialUnitName));
    put("rix_sequence_unit", escapeText(info.sequenceUnitName));
    return text;
}

void applyOwnKeys(const MetadataKeys& keys, ImageFileInfo& info) {
    const auto size = keys.find("rix_size");
    if (size == keys.end() || size->second != sizeText(info)) {
        return;
    }
    applyLabel(keys, "rix_interpretation", {RIX_BINARY, RIX_LABEL, RIX_VALUE}, helper::interpretationsToString,
               info.interpretation);
    applyLabel(keys, "rix_labels", {LabelScope::Volume, LabelScope::Plane}, helper::labelScopeToString,
               info.labelScope);
    applyLabel(keys, "rix_color", {UNKNOWN, RGB, HSL, YIQ, NRGB}, helper::colorInterpretationToString,
               info.colorInterpretation);
    // Absent means default here, whatever the fields of the format have to say with less precision.
    const ImageFileInfo usual;
    info.spacing = usual.spacing;
    info.origin = usual.origin;
    if (const auto found = keys.find("rix_spacing"); found != keys.end()) {
        std::array<double, RIX_COMPONENTS_SIZE> spacing{};
        if (splitNumbers(found->second, spacing) && std::all_of(spacing.begin(), spacing.end(), isSpacing)) {
            info.spacing = spacing;
        }
    }
    if (const auto found = keys.find("rix_origin"); found != keys.end()) {
        splitNumbers(found->second, info.origin);
    }
    std::array<double, 9> numbers{};
    if (const auto found = keys.find("rix_directions"); found != keys.end() && splitNumbers(found->second, numbers)) {
        auto in = numbers.begin();
        for (auto* direction : {&info.spatialDirections.columnDirection, &info.spatialDirections.rowDirection,
                                &info.spatialDirections.sliceDirection}) {
            std::copy_n(in, 3, direction->begin());
            in += 3;
        }
    }
    applyText(keys, "rix_unit", info.spatialUnitName);
    applyText(keys, "rix_sequence_unit", info.sequenceUnitName);
}

}  // namespace rix::io
