// The XML of OME-TIFF files that are written.

#include <sstream>

#include <pugixml.hpp>

#include "../Metadata.h"
#include "../Units.h"
#include "PageDescription.h"

namespace rix::io {
namespace {

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
    put(comment, "Namespace", OmeNamespace);
    comment.append_child("Value").text().set(formatOwnKeys(info).c_str());
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + text.str();
}

}  // namespace rix::io
