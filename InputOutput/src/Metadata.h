#pragma once

#include <map>
#include <optional>
#include <string_view>

#include <rix/io/ImageFile.h>

namespace rix::io {

/// Text metadata of image files: lines of the form key=value, as ImageJ writes them into TIFF descriptions.
///
/// Our own keys begin with "rix_". They hold to the last bit what the fields of a format hold roughly or not at all,
/// and other readers pass over them. "rix_size" repeats the extents: when they don't match, another program has
/// changed the picture and carried the text along, and all of our keys are ignored.
using MetadataKeys = std::map<String, String, std::less<>>;

/// The lines of a text; a line without '=' is passed over, the last of equal keys counts.
MetadataKeys parseKeys(std::string_view text);

/// ASCII form of UTF-8 text: \uXXXX beyond ASCII, and escapes for the backslash and control characters.
String escapeText(std::string_view text);
/// The reverse. Bytes that are no UTF-8 are taken as Latin-1, which old files use.
String unescapeText(std::string_view text);

/// A text without the blanks around it.
String trimmed(std::string_view text);

/// Shortest text that reads back as the same number.
String formatNumber(double number);
std::optional<double> parseNumber(std::string_view text);
std::optional<std::size_t> parseCount(std::string_view text);

/// The number under a key; nothing when it is absent or no number.
std::optional<double> numberOf(const MetadataKeys& keys, std::string_view key);

/// Whether a number can be a distance between neighbours.
bool isSpacing(double value);

/// What is known of an image without its samples. A spacing that is none is told as 1.
ImageFileInfo describe(const ImageModel& image);

/// Why a format of scalars cannot hold elements of an image, or that it has none; empty when it can.
String refusalOfElements(const String& format, const ImageModel& image);

/// Our own keys of an image, one a line with a newline at the end of each; what is at its default is left out.
String formatOwnKeys(const ImageFileInfo& info);

/// Takes from `keys` what `formatOwnKeys` wrote, if it was written for an image of the extents of `info`.
void applyOwnKeys(const MetadataKeys& keys, ImageFileInfo& info);

}  // namespace rix::io
