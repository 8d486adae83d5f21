// The XML of OME-TIFF files: axes, sizes and units of the pages, in the first page's description.

#include <cmath>
#include <cstring>
#include <sstream>

#include <pugixml.hpp>

#include "../Metadata.h"
#include "../Units.h"
#include "PageDescription.h"

namespace rix::io {
namespace {

constexpr char Namespace[] = "rix-image";

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
        const std::size_t at = axis == PageAxis::Channel ? position.channel
                               : axis == PageAxis::Slice ? position.slice
                                                         : position.frame;
        plane += at * step;
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
        if (std::strcmp(comment.attribute("Namespace").value(), Namespace) == 0) {
            return parseKeys(childOf(comment, "Value").text().get());
        }
    }
    return {};
}

/// The sign that the schema has for a unit of length; its name for none where it has no sign.
String omeLength(const String& unit) {
    const auto metres = metresOf(unit);
    if (!metres) {
        return "reference frame";
    }
    for (const char* sign : {"m", "cm", "mm", "\u00B5m", "nm", "pm", "km", "in"}) {
        if (metresOf(sign) == metres) {
            return sign;
        }
    }
    return "reference frame";
}

String omeType(VoxelTypes type, unsigned bits) {
    switch (type) {
        case RIX_FLOAT32: return "float";
        case RIX_FLOAT64: return "double";
        case RIX_COMPLEX_FLOAT32: return "complex";
        case RIX_COMPLEX_FLOAT64: return "double-complex";
        default: return bits == 1 ? "bit" : helper::voxelTypesToString(type);
    }
}

}  // namespace

bool isOme(std::string_view description) {
    const std::size_t begin = description.find('<');
    return begin <= 3 && description.find("OME", begin) != std::string_view::npos &&
           description.find("OME>") != std::string_view::npos;
}

PageArrangement readOme(const String& description, const PageList& pages, ImageFileInfo& info) {
    pugi::xml_document document;
    if (!document.load_buffer(description.data(), description.size())) {
        doubt("is damaged.");
    }
    const pugi::xml_node root = childOf(document, "OME");
    const auto images = childrenOf(root, "Image");
    if (images.size() != 1) {
        doubt(images.empty() ? "describes no image; another file may hold the description."
                             : "describes " + std::to_string(images.size()) + " images.");
    }
    const pugi::xml_node pixels = childOf(images.front(), "Pixels");
    PageArrangement arrangement = arrangementOf(root, pixels, pages);
    arrangement.ownKeys = annotatedKeys(root);
    applyLengths(pixels, info);
    return arrangement;
}

String formatOme(const ImageFileInfo& info, const PageAxes& axes, std::size_t samplesOfPixel, unsigned bits) {
    pugi::xml_document document;
    pugi::xml_node root = document.append_child("OME");
    const auto put = [](pugi::xml_node node, const char* name, const String& value) {
        node.append_attribute(name).set_value(value.c_str());
    };
    put(root, "xmlns", "http://www.openmicroscopy.org/Schemas/OME/2016-06");
    pugi::xml_node image = root.append_child("Image");
    put(image, "ID", "Image:0");
    pugi::xml_node pixels = image.append_child("Pixels");
    put(pixels, "ID", "Pixels:0");
    put(pixels, "DimensionOrder", "XYCZT");
    put(pixels, "Type", omeType(info.voxelType, bits));
    put(pixels, "SizeX", std::to_string(info.extents[COLUMNS]));
    put(pixels, "SizeY", std::to_string(info.extents[ROWS]));
    put(pixels, "SizeZ", std::to_string(axes.slices));
    put(pixels, "SizeC", std::to_string(axes.channels * samplesOfPixel));
    put(pixels, "SizeT", std::to_string(axes.frames));
    const ImageFileInfo plain;
    if (!info.spatialUnitName.empty() || info.spacing != plain.spacing) {
        const String unit = omeLength(info.spatialUnitName);
        put(pixels, "PhysicalSizeX", formatNumber(info.spacing[COLUMNS]));
        put(pixels, "PhysicalSizeXUnit", unit);
        put(pixels, "PhysicalSizeY", formatNumber(info.spacing[ROWS]));
        put(pixels, "PhysicalSizeYUnit", unit);
        put(pixels, "PhysicalSizeZ", formatNumber(info.spacing[PLANS]));
        put(pixels, "PhysicalSizeZUnit", unit);
    }
    if (info.sequenceUnitName == "s" || info.sequenceUnitName == "sec" || info.sequenceUnitName == "ms" ||
        info.sequenceUnitName == "min" || info.sequenceUnitName == "h") {
        put(pixels, "TimeIncrement", formatNumber(info.spacing[SEQUENCE]));
        put(pixels, "TimeIncrementUnit", info.sequenceUnitName == "sec" ? "s" : info.sequenceUnitName);
    }
    for (std::size_t channel = 0; channel < axes.channels; ++channel) {
        pugi::xml_node node = pixels.append_child("Channel");
        put(node, "ID", "Channel:0:" + std::to_string(channel));
        put(node, "SamplesPerPixel", std::to_string(samplesOfPixel));
    }
    pugi::xml_node data = pixels.append_child("TiffData");
    put(data, "IFD", "0");
    put(data, "PlaneCount", std::to_string(axes.pages().value_or(0)));
    pugi::xml_node comment = root.append_child("StructuredAnnotations").append_child("CommentAnnotation");
    put(comment, "ID", "Annotation:0");
    put(comment, "Namespace", Namespace);
    comment.append_child("Value").text().set(formatOwnKeys(info).c_str());
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + text.str();
}

}  // namespace rix::io
