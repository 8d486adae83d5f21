// The XML of OME-TIFF files: axes, sizes and units of the pages, in the first page's description.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

#include <pugixml.hpp>

#include "../Metadata.h"
#include "../Units.h"
#include "PageDescription.h"

namespace rix::io {
namespace {

[[noreturn]] void doubt(const String& text) {
    throw DescriptionDoubt{"The OME-XML of the file " + text};
}

/// The name without the prefix of its namespace.
std::string_view nameOf(const pugi::xml_node& node) {
    const std::string_view name = node.name();
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::vector<pugi::xml_node> childrenOf(const pugi::xml_node& parent, std::string_view name) {
    std::vector<pugi::xml_node> found;
    for (const pugi::xml_node& child : parent.children()) {
        if (nameOf(child) == name) {
            found.push_back(child);
        }
    }
    return found;
}

pugi::xml_node childOf(const pugi::xml_node& parent, std::string_view name) {
    const auto found = childrenOf(parent, name);
    return found.empty() ? pugi::xml_node() : found.front();
}

std::size_t countOf(const pugi::xml_node& node, const char* attribute, std::size_t absent) {
    const pugi::xml_attribute found = node.attribute(attribute);
    if (found.empty()) {
        return absent;
    }
    const auto count = parseCount(found.value());
    if (!count) {
        doubt("has " + String(attribute) + "=\"" + found.value() + "\", which is no number.");
    }
    return *count;
}

/// "XYCZT": the order in which planes follow each other, columns and rows first.
std::array<PageAxis, 3> orderOf(const pugi::xml_node& pixels) {
    const std::string_view text = pixels.attribute("DimensionOrder").value();
    std::array<PageAxis, 3> order{};
    bool known = text.size() == 5 && text.starts_with("XY");
    for (std::size_t i = 0; known && i < 3; ++i) {
        const char letter = text[i + 2];
        known = (letter == 'C' || letter == 'Z' || letter == 'T') && text.find(letter, i + 3) == std::string_view::npos;
        order[i] = letter == 'C' ? PageAxis::Channel : letter == 'Z' ? PageAxis::Slice : PageAxis::Frame;
    }
    if (!known) {
        doubt("has the order of dimensions '" + String(text) + "', which there is not.");
    }
    return order;
}

/// The number of the plane at a position, by the order of the axes.
std::size_t planeOf(const PagePosition& position, const PageAxes& axes) {
    std::size_t plane = 0;
    std::size_t step = 1;
    for (const PageAxis axis : axes.order) {
        plane += position.of(axis) * step;
        step *= axes.extentOf(axis);
    }
    return plane;
}

/// Which plane each page is, as the elements TiffData tell.
std::vector<PagePosition> positionsOf(const pugi::xml_node& root, const pugi::xml_node& pixels, const PageAxes& axes,
                                      const PageList& pages) {
    const std::size_t count = pages.numbers.size();
    std::vector<PagePosition> positions(count);
    std::vector<bool> pageDone(count);
    std::vector<bool> planeDone(count);
    std::size_t done = 0;
    for (const pugi::xml_node& data : childrenOf(pixels, "TiffData")) {
        const pugi::xml_node uuid = childOf(data, "UUID");
        if (!uuid.empty() && std::strcmp(uuid.text().get(), root.attribute("UUID").value()) != 0) {
            doubt("is of a set of files: some of its planes are in '" + String(uuid.attribute("FileName").value()) +
                  "'.");
        }
        const bool hasNumber = !data.attribute("IFD").empty();
        const std::size_t number = countOf(data, "IFD", 0);
        const PagePosition first{countOf(data, "FirstC", 0), countOf(data, "FirstZ", 0), countOf(data, "FirstT", 0)};
        if (first.channel >= axes.channels || first.slice >= axes.slices || first.frame >= axes.frames) {
            doubt("names a plane that the image doesn't have.");
        }
        const std::size_t plane = planeOf(first, axes);
        const std::size_t planes = countOf(data, "PlaneCount", hasNumber ? 1 : count - plane);
        if (planes > count - plane) {
            doubt("names planes that the image doesn't have.");
        }
        for (std::size_t i = 0; i < planes; ++i) {
            const auto found = std::lower_bound(pages.numbers.begin(), pages.numbers.end(), number + i);
            if (found == pages.numbers.end() || *found != number + i) {
                doubt("names a directory that the file doesn't have (truncated?).");
            }
            const auto page = static_cast<std::size_t>(found - pages.numbers.begin());
            if (pageDone[page] || planeDone[plane + i]) {
                doubt("names a plane twice.");
            }
            pageDone[page] = planeDone[plane + i] = true;
            positions[page] = positionOfPage(plane + i, axes);
            ++done;
        }
    }
    if (done != count) {
        doubt("tells where " + std::to_string(done) + " of " + std::to_string(count) + " planes are.");
    }
    return positions;
}

PageArrangement arrangementOf(const pugi::xml_node& root, const pugi::xml_node& pixels, const PageList& pages) {
    const TiffPage& page = pages.page;
    const std::size_t columns = countOf(pixels, "SizeX", 0);
    const std::size_t rows = countOf(pixels, "SizeY", 0);
    if (columns != page.columns || rows != page.rows) {
        doubt("tells of planes of " + std::to_string(columns) + " x " + std::to_string(rows) + "; the pages have " +
              std::to_string(page.columns) + " x " + std::to_string(page.rows) + '.');
    }
    PageArrangement arrangement;
    PageAxes& axes = arrangement.axes;
    axes.order = orderOf(pixels);
    axes.slices = countOf(pixels, "SizeZ", 0);
    axes.frames = countOf(pixels, "SizeT", 0);
    const std::size_t channels = countOf(pixels, "SizeC", 0);
    const std::size_t samples = countOf(childOf(pixels, "Channel"), "SamplesPerPixel", page.channels);
    if (samples != page.channels || channels % samples != 0) {
        doubt("tells of " + std::to_string(channels) + " channels, " + std::to_string(samples) +
              " to a page; the pages have " + std::to_string(page.channels) + '.');
    }
    axes.channels = channels / samples;
    const auto planes = axes.pages();
    if (!planes || *planes != pages.numbers.size()) {
        doubt("tells of " + (planes ? std::to_string(*planes) : "too many") + " planes; the file has " +
              std::to_string(pages.numbers.size()) + " pages.");
    }
    if (!childOf(pixels, "TiffData").empty()) {
        arrangement.positions = positionsOf(root, pixels, axes, pages);
    }
    return arrangement;
}

void applyLengths(const pugi::xml_node& pixels, ImageFileInfo& info) {
    auto spacing = info.spacing;
    struct Axis {
        const char* size;
        const char* unit;
        Components axis;
    };
    constexpr Axis axes[] = {{"PhysicalSizeX", "PhysicalSizeXUnit", COLUMNS},
                             {"PhysicalSizeY", "PhysicalSizeYUnit", ROWS},
                             {"PhysicalSizeZ", "PhysicalSizeZUnit", PLANS}};
    std::optional<String> common;
    for (const Axis& axis : axes) {
        const auto size = parseNumber(pixels.attribute(axis.size).value());
        if (!size || !isSpacing(*size)) {
            continue;
        }
        const String unit = pixels.attribute(axis.unit).as_string("\u00B5m");
        double factor = 1.0;
        if (!common) {
            common = unit;
        } else if (unit != *common) {
            const auto of = metresOf(unit);
            const auto to = metresOf(*common);
            if (!of || !to) {
                doubt("has sizes in '" + *common + "' and '" + unit + "', which cannot be compared.");
            }
            factor = *of / *to;
        }
        spacing[static_cast<std::size_t>(axis.axis)] = *size * factor;
    }
    info.spacing = spacing;
    if (common) {
        // Names for "no unit" there.
        info.spatialUnitName = *common == "reference frame" || *common == "pixel" ? "" : *common;
    }
    if (const auto step = parseNumber(pixels.attribute("TimeIncrement").value()); step && isSpacing(*step)) {
        info.spacing[SEQUENCE] = *step;
        info.sequenceUnitName = pixels.attribute("TimeIncrementUnit").as_string("s");
    }
}

MetadataKeys annotatedKeys(const pugi::xml_node& root) {
    for (const pugi::xml_node& comment : childrenOf(childOf(root, "StructuredAnnotations"), "CommentAnnotation")) {
        if (std::strcmp(comment.attribute("Namespace").value(), OmeNamespace) == 0) {
            return parseKeys(childOf(comment, "Value").text().get());
        }
    }
    return {};
}

/// @throws DescriptionDoubt
void load(pugi::xml_document& document, const String& description) {
    if (!document.load_buffer(description.data(), description.size())) {
        doubt("is damaged.");
    }
}

/// The planes that an image has of its own, where a plane may hold several channels.
std::size_t planesOf(const pugi::xml_node& pixels) {
    const std::size_t channels = countOf(pixels, "SizeC", 1);
    const std::size_t samples = countOf(childOf(pixels, "Channel"), "SamplesPerPixel", 1);
    std::size_t planes = samples > 1 && channels % samples == 0 ? channels / samples : channels;
    if (!helper::checkedMultiply(planes, countOf(pixels, "SizeZ", 1), planes) ||
        !helper::checkedMultiply(planes, countOf(pixels, "SizeT", 1), planes)) {
        doubt("tells of too many planes.");
    }
    return planes;
}

}  // namespace

bool isOme(std::string_view description) {
    const std::size_t begin = description.find('<');
    return begin <= 3 && description.find("OME", begin) != std::string_view::npos &&
           description.find("OME>") != std::string_view::npos;
}

std::size_t countOmeImages(const String& description) {
    pugi::xml_document document;
    return document.load_buffer(description.data(), description.size())
               ? childrenOf(childOf(document, "OME"), "Image").size()
               : 0;
}

std::vector<std::size_t> pagesOfOmeImage(const String& description, std::size_t series, std::size_t directories) {
    pugi::xml_document document;
    load(document, description);
    const auto images = childrenOf(childOf(document, "OME"), "Image");
    std::size_t begin = 0;
    for (std::size_t i = 0; i < series; ++i) {
        begin += std::min(planesOf(childOf(images[i], "Pixels")), directories);
    }
    const pugi::xml_node pixels = childOf(images[series], "Pixels");
    const std::size_t planes = planesOf(pixels);
    std::vector<std::size_t> numbers;
    const auto add = [&](std::size_t first, std::size_t count) {
        if (first > directories || count > directories - first || numbers.size() > directories) {
            doubt("names a directory that the file doesn't have (truncated?).");
        }
        for (std::size_t i = 0; i < count; ++i) {
            numbers.push_back(first + i);
        }
    };
    const auto told = childrenOf(pixels, "TiffData");
    for (const pugi::xml_node& data : told) {
        const bool hasNumber = !data.attribute("IFD").empty();
        add(countOf(data, "IFD", 0), countOf(data, "PlaneCount", hasNumber ? 1 : planes));
    }
    if (told.empty()) {
        add(begin, planes);
    }
    return numbers;
}

PageArrangement readOme(const String& description, const PageList& pages, std::optional<std::size_t> series,
                        ImageFileInfo& info) {
    pugi::xml_document document;
    load(document, description);
    const pugi::xml_node root = childOf(document, "OME");
    const auto images = childrenOf(root, "Image");
    if (images.size() != 1 && !series) {
        doubt(images.empty() ? "describes no image; another file may hold the description."
                             : "describes " + std::to_string(images.size()) +
                                   " images; the selection series=0 chooses the first.");
    }
    const pugi::xml_node pixels = childOf(images[series.value_or(0)], "Pixels");
    PageArrangement arrangement = arrangementOf(root, pixels, pages);
    arrangement.ownKeys = annotatedKeys(root);
    applyLengths(pixels, info);
    return arrangement;
}

}  // namespace rix::io
