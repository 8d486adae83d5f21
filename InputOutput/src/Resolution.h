#pragma once

#include <cstdint>
#include <optional>

#include <rix/io/ImageFile.h>

namespace rix::io {

/// Takes a resolution as calibration, if it is one under the options: a program that writes a picture for print or
/// screen notes dots an inch that have nothing to do with what is on the picture.
/// @param x,y pixels a metre; what is not positive and finite counts as no resolution
void applyResolution(double x, double y, const ReadOptions& options, ImageFileInfo& info);

/// Pixels a metre on both axes; nothing where the unit is no length or the numbers don't fit 31 bits.
struct PixelsPerMetre {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
};
std::optional<PixelsPerMetre> pixelsPerMetre(const ImageFileInfo& info);

}  // namespace rix::io
