// The description that Python programs write: a JSON object with the shape of the array and the letters of its axes.

#include <algorithm>
#include <map>

#include <nlohmann/json.hpp>

#include "ImageJ.h"
#include "PageDescription.h"

namespace rix::io {
namespace {

using nlohmann::json;

struct Leading {
    std::size_t extent;
    char letter;  ///< blank for none
};

[[noreturn]] void doubt(const String& text) {
    throw DescriptionDoubt{"The description of the file " + text};
}

std::vector<std::size_t> shapeOf(const json& description) {
    const auto found = description.find("shape");
    std::vector<std::size_t> shape;
    for (const json& extent : found != description.end() ? *found : json::array()) {
        if (!extent.is_number_unsigned() || extent.get<std::size_t>() == 0) {
            doubt("has a shape that is no list of positive numbers.");
        }
        shape.push_back(extent.get<std::size_t>());
    }
    return shape;
}

/// The axes before those of a page.
std::vector<Leading> leadingAxes(const std::vector<std::size_t>& shape, const String& letters, const TiffPage& page) {
    const std::size_t samples = page.samples;
    const std::vector<std::size_t> beside{page.rows, page.columns, samples};
    const std::vector<std::size_t> apart{samples, page.rows, page.columns};
    const auto ends = [&](const std::vector<std::size_t>& tail, std::string_view names) {
        return shape.size() >= tail.size() && std::equal(tail.rbegin(), tail.rend(), shape.rbegin()) &&
               (letters.empty() || letters.ends_with(names));
    };
    std::size_t inPage = 0;
    if (samples > 1 || letters.ends_with('S')) {
        inPage = ends(page.separate ? apart : beside, page.separate ? "SYX" : "YXS") ? 3 : 0;
    } else {
        inPage = ends({page.rows, page.columns}, "YX") ? 2 : 0;
    }
    if (inPage == 0) {
        doubt("tells a shape that the pages don't have.");
    }
    std::vector<Leading> leading;
    for (std::size_t i = 0; i + inPage < shape.size(); ++i) {
        if (shape[i] > 1) {
            leading.push_back({shape[i], letters.empty() ? ' ' : letters[i]});
        }
    }
    return leading;
}

PageAxes axesOf(const std::vector<Leading>& leading) {
    static const std::map<char, PageAxis> meanings{
        {'C', PageAxis::Channel}, {'Z', PageAxis::Slice}, {'T', PageAxis::Frame}};
    PageAxes axes;
    std::vector<PageAxis> order;
    for (auto axis = leading.rbegin(); axis != leading.rend(); ++axis) {  // the last one is the fastest
        const auto meaning = meanings.find(axis->letter);
        const bool single = leading.size() == 1 && (axis->letter == ' ' || axis->letter == 'I' || axis->letter == 'Q');
        if (meaning == meanings.end() && !single) {
            doubt(axis->letter == ' '
                      ? "doesn't tell what its " + std::to_string(leading.size()) + " axes of pages are."
                      : "has an axis '" + String(1, axis->letter) + "' that images have not.");
        }
        const PageAxis page = single ? PageAxis::Slice : meaning->second;
        if (std::find(order.begin(), order.end(), page) != order.end()) {
            doubt("names the axis '" + String(1, axis->letter) + "' twice.");
        }
        order.push_back(page);
        axes.setExtentOf(page, axis->extent);
    }
    axes.order = orderFrom(order);
    return axes;
}

}  // namespace

bool isShaped(std::string_view description) {
    return description.starts_with('{') && description.find("\"shape\"") != std::string_view::npos;
}

PageArrangement readShaped(const String& description, const PageList& pages, ImageFileInfo& info) {
    const json parsed = json::parse(description, nullptr, false);
    if (!parsed.is_object()) {
        doubt("is damaged JSON.");
    }
    const auto textOf = [&](const char* key) {
        const auto found = parsed.find(key);
        return found != parsed.end() && found->is_string() ? found->get<String>() : String();
    };
    const std::vector<std::size_t> shape = shapeOf(parsed);
    const String letters = textOf("axes");
    if (!letters.empty() && letters.size() != shape.size()) {
        doubt("names " + std::to_string(letters.size()) + " axes of " + std::to_string(shape.size()) + '.');
    }
    PageArrangement arrangement{.axes = axesOf(leadingAxes(shape, letters, pages.page))};
    const auto count = arrangement.axes.pages();
    const bool contiguous = pages.numbers.size() == 1 && count && *count > 1;
    if (!count || (*count != pages.numbers.size() && !contiguous)) {
        doubt("tells a shape of " + (count ? std::to_string(*count) : "too many") + " pages; the file has " +
              std::to_string(pages.numbers.size()) + '.');
    }
    // Else the resolution has told another unit than that in which the planes lie apart here.
    if (info.spatialUnitName.empty() || info.spatialUnitName == textOf("unit")) {
        MetadataKeys keys;
        for (const char* key : {"unit", "tunit"}) {
            if (!textOf(key).empty()) {
                keys[key] = textOf(key);
            }
        }
        for (const char* key : {"spacing", "finterval", "fps"}) {
            if (const auto found = parsed.find(key); found != parsed.end() && found->is_number()) {
                keys[key] = formatNumber(found->get<double>());
            }
        }
        applyImageJCalibration(keys, info);
    }
    return arrangement;
}

}  // namespace rix::io
