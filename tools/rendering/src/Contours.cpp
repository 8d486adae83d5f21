#include <rix/rendering/Contours.h>

#include <string>

#include <rix/rendering/NotDrawable.h>

namespace rix::rendering {
namespace {

bool isOnContour(const LabelSlice& labels, std::size_t x, std::size_t y) {
    const auto label = labels.at(x, y);
    return (x > 0 && labels.at(x - 1, y) != label) || (x + 1 < labels.width && labels.at(x + 1, y) != label) ||
           (y > 0 && labels.at(x, y - 1) != label) || (y + 1 < labels.height && labels.at(x, y + 1) != label);
}

}  // namespace

void checkContours(const PictureSize& labels, const PictureSize& base) {
    if (base.width != labels.width || base.height != labels.height) {
        throw NotDrawable("the labels have " + std::to_string(labels.width) + " x " + std::to_string(labels.height) +
                          " pixels, the base has " + std::to_string(base.width) + " x " + std::to_string(base.height));
    }
}

void drawContours(Picture& picture, const LabelSlice& labels, const std::function<Colour(std::uint32_t)>& colourOf) {
    checkContours({labels.width, labels.height}, {picture.width(), picture.height()});
    for (std::size_t y = 0; y < labels.height; ++y) {
        Colour* row = picture.row(y);
        for (std::size_t x = 0; x < labels.width; ++x) {
            if (labels.at(x, y) != 0 && isOnContour(labels, x, y)) {
                row[x] = colourOf(labels.at(x, y));
            }
        }
    }
}

}  // namespace rix::rendering
