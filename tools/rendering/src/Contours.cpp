#include <rix/rendering/Contours.h>

#include <algorithm>
#include <string>

#include <rix/rendering/NotDrawable.h>

#include "Canvas.h"

namespace rix::rendering {

void checkContours(const PictureSize& labels, const PictureSize& base) {
    if (base.width != labels.width || base.height != labels.height) {
        throw NotDrawable("the labels have " + std::to_string(labels.width) + " x " + std::to_string(labels.height) +
                          " pixels, the base has " + std::to_string(base.width) + " x " + std::to_string(base.height));
    }
}

void drawContours(Picture& picture, const LabelSlice& labels, const std::function<Colour(std::uint32_t)>& colourOf,
                  helper::InterruptPoint interrupt) {
    const std::size_t factor = labels.width == 0 ? 1 : std::max<std::size_t>(1, picture.width() / labels.width);
    checkContours({labels.width * factor, labels.height * factor}, {picture.width(), picture.height()});
    const auto side = static_cast<double>(factor);
    const auto thickness = static_cast<double>((factor + 2) / 3);
    Canvas canvas(picture);
    for (std::size_t y = 0; y < labels.height; ++y) {
        interrupt.pass(labels.width * sizeof(std::uint32_t));
        for (std::size_t x = 0; x < labels.width; ++x) {
            const std::uint32_t label = labels.at(x, y);
            if (label == 0) {
                continue;
            }
            const double left = static_cast<double>(x) * side;
            const double top = static_cast<double>(y) * side;
            if (x > 0 && labels.at(x - 1, y) != label) {
                canvas.fillRectangle(left, top, thickness, side, colourOf(label));
            }
            if (x + 1 < labels.width && labels.at(x + 1, y) != label) {
                canvas.fillRectangle(left + side - thickness, top, thickness, side, colourOf(label));
            }
            if (y > 0 && labels.at(x, y - 1) != label) {
                canvas.fillRectangle(left, top, side, thickness, colourOf(label));
            }
            if (y + 1 < labels.height && labels.at(x, y + 1) != label) {
                canvas.fillRectangle(left, top + side - thickness, side, thickness, colourOf(label));
            }
        }
    }
    picture = canvas.toPicture();
}

}  // namespace rix::rendering
