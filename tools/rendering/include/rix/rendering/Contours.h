#pragma once

#include <functional>

#include <rix/image/InterruptPoint.h>

#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>

namespace rix::rendering {

struct PictureSize {
    std::size_t width;
    std::size_t height;
};

/// @throws NotDrawable when labels do not lie on the base pixel by pixel.
void checkContours(const PictureSize& labels, const PictureSize& base);

/// Draws the outlines of the labels onto a picture that has as many pixels, or a whole number of times as many a side:
/// a line inside the label along its border with other labels and the background. On a picture of the same size these
/// are the pixels of which one of the four neighbours is not the same label. The edge of the image is no border, so an
/// object that leaves the image stays open there.
/// @throws NotDrawable when the sizes don't go together.
void drawContours(Picture& picture, const LabelSlice& labels, const std::function<Colour(std::uint32_t)>& colourOf,
                  helper::InterruptPoint interrupt = {});

}  // namespace rix::rendering
