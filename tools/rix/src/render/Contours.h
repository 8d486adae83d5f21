#pragma once

#include <functional>

#include "Picture.h"
#include "Slice.h"

namespace rix::cli {

/// Draws the outlines of the labels onto a picture of the same size: those pixels of a label of which one of the four
/// neighbours is not the same label. The edge of the image is no neighbour, so an object that leaves the image stays
/// open there.
/// @throws Failure (wrong usage) when the sizes differ.
void drawContours(Picture& picture, const LabelSlice& labels, const std::function<Colour(std::uint32_t)>& colourOf);

}  // namespace rix::cli
