#include "ImageJ.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace rix::io {
namespace {

constexpr std::string_view Signature = "ImageJ=";

/// The axes on which ImageJ has an origin, and the keys of that.
constexpr std::array<std::pair<std::string_view, std::size_t>, 3> OriginKeys{
    {{"xorigin", COLUMNS}, {"yorigin", ROWS}, {"zorigin", PLANS}}};

/// The letters c, z and t, the fastest axis first; the usual order for any other text.
std::array<PageAxis, 3> orderOf(std::string_view text) {
    std::array<PageAxis, 3> order{};
    std::size_t used = 0;
    for (const auto& [letter, axis] :
         {std::pair('c', PageAxis::Channel), std::pair('z', PageAxis::Slice), std::pair('t', PageAxis::Frame)}) {
        if (const std::size_t at = text.find(letter); text.size() == order.size() && at != std::string_view::npos) {
            order[at] = axis;
            ++used;
        }
    }
    return used == order.size() ? order : PageAxes().order;
}

}  // namespace

bool isImageJ(std::string_view description) {
    return description.substr(0, Signature.size()) == Signature;
}

std::optional<PageAxes> imageJAxes(const MetadataKeys& keys) {
    PageAxes axes;
    bool named = false;
    const auto read = [&](std::string_view key, std::size_t& extent) {
        const auto found = keys.find(key);
        if (found == keys.end()) {
            return true;
        }
        const auto count = parseCount(found->second);
        if (!count || *count == 0) {
            return false;
        }
        extent = *count;
        named = true;
        return true;
    };
    if (!read("channels", axes.channels) || !read("slices", axes.slices) || !read("frames", axes.frames)) {
        return std::nullopt;
    }
    if (!named && !read("images", axes.slices)) {
        return std::nullopt;
    }
    if (const auto order = keys.find("order"); order != keys.end()) {
        axes.order = orderOf(order->second);
    }
    return axes;
}

void applyImageJCalibration(const MetadataKeys& keys, ImageFileInfo& info) {
    if (const auto spacing = numberOf(keys, "spacing"); spacing && isSpacing(std::abs(*spacing))) {
        info.spacing[PLANS] = std::abs(*spacing);  // the sign tells an order of acquisition
    }
    const auto interval = numberOf(keys, "finterval");
    const auto rate = numberOf(keys, "fps");
    if (interval && isSpacing(*interval)) {
        info.spacing[SEQUENCE] = *interval;
        info.sequenceUnitName = "sec";
    } else if (rate && isSpacing(*rate) && isSpacing(1.0 / *rate)) {
        info.spacing[SEQUENCE] = 1.0 / *rate;
        info.sequenceUnitName = "sec";
    }
    if (const auto found = keys.find("tunit"); found != keys.end()) {
        info.sequenceUnitName = trimmed(unescapeText(found->second));
    }
    if (const auto found = keys.find("unit"); found != keys.end()) {
        info.spatialUnitName = trimmed(unescapeText(found->second));
    }
    // ImageJ tells which element lies at 0, we tell where the first element lies.
    for (const auto& [key, axis] : OriginKeys) {
        if (const auto element = numberOf(keys, key);
            element && *element != 0.0 && std::isfinite(*element * info.spacing[axis])) {
            info.origin[axis] = -*element * info.spacing[axis];
        }
    }
}

String formatDescription(const ImageFileInfo& info, const PageAxes& axes) {
    String text = String(Signature) + "1.53t\n";
    const auto put = [&](std::string_view key, const String& value) { text += String(key) + '=' + value + '\n'; };
    const std::size_t pages = axes.pages().value_or(1);
    if (pages > 1) {
        put("images", std::to_string(pages));
    }
    int stacked = 0;
    for (const auto& [key, extent] :
         {std::pair("channels", axes.channels), std::pair("slices", axes.slices), std::pair("frames", axes.frames)}) {
        if (extent > 1) {
            put(key, std::to_string(extent));
            ++stacked;
        }
    }
    if (stacked > 1 || axes.channels > 1) {
        put("hyperstack", "true");
        put("mode", "grayscale");
    }
    if (!info.spatialUnitName.empty()) {
        put("unit", escapeText(info.spatialUnitName));
    }
    if (axes.slices > 1 || info.spacing[PLANS] != 1.0) {
        put("spacing", formatNumber(info.spacing[PLANS]));
    }
    if (info.spacing[SEQUENCE] != 1.0 || !info.sequenceUnitName.empty()) {
        put("finterval", formatNumber(info.spacing[SEQUENCE]));
    }
    if (!info.sequenceUnitName.empty()) {
        put("tunit", escapeText(info.sequenceUnitName));
    }
    for (const auto& [key, axis] : OriginKeys) {
        const double element = -info.origin[axis] / info.spacing[axis];
        if (element != 0.0 && std::isfinite(element)) {
            put(key, formatNumber(element));
        }
    }
    return text + formatOwnKeys(info);
}

}  // namespace rix::io
