#pragma once

#include <optional>

#include "../Metadata.h"
#include "PageAxes.h"

namespace rix::io {

/// Whether a description is one of ImageJ's.
bool isImageJ(std::string_view description);

/// The axes that a description tells; an axis that it doesn't name has extent 1. A stack of `images` pages without
/// axes is one of slices. Nothing when an extent is no positive number.
std::optional<PageAxes> imageJAxes(const MetadataKeys& keys);

/// Takes plane and time spacing, origin and unit names from a description; the spacings of columns and rows, in which
/// ImageJ counts the origin, have to be in `info` already.
void applyImageJCalibration(const MetadataKeys& keys, ImageFileInfo& info);

/// The description of an image whose pages have these axes: ImageJ's keys, then our own.
String formatDescription(const ImageFileInfo& info, const PageAxes& axes);

}  // namespace rix::io
