#include <rix/rendering/Numbers.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <string>

#include <rix/rendering/Text.h>

namespace rix::rendering {
namespace {

struct Centre {
    double x = 0.0;
    double y = 0.0;
    double count = 0.0;
};

/// About one letter in sixty of the picture's width, and readable in any.
std::size_t scaleFor(const Picture& picture) {
    return std::clamp<std::size_t>(picture.width() / 360, 1, 8);
}

/// The start of a text of that length about a centre, moved into the picture where it would leave it.
std::size_t startOf(double centre, std::size_t length, std::size_t room) {
    const auto most = static_cast<double>(room > length ? room - length : 0);
    return static_cast<std::size_t>(std::lround(std::clamp(centre - static_cast<double>(length) / 2.0, 0.0, most)));
}

}  // namespace

void drawNumbers(Picture& picture, const LabelSlice& labels) {
    std::map<std::uint32_t, Centre> centres;
    for (std::size_t y = 0; y < labels.height; ++y) {
        for (std::size_t x = 0; x < labels.width; ++x) {
            if (const std::uint32_t label = labels.at(x, y); label != 0) {
                Centre& centre = centres[label];
                centre.x += static_cast<double>(x) + 0.5;
                centre.y += static_cast<double>(y) + 0.5;
                centre.count += 1.0;
            }
        }
    }
    const std::size_t scale = scaleFor(picture);
    for (const auto& [label, centre] : centres) {
        const std::string text = std::to_string(label);
        const std::size_t x = startOf(centre.x / centre.count, textWidth(text, scale) + 2, picture.width());
        const std::size_t y = startOf(centre.y / centre.count, letterHeight * scale + 2, picture.height());
        for (std::size_t dy = 0; dy <= 2; ++dy) {
            for (std::size_t dx = 0; dx <= 2; ++dx) {
                drawText(picture, text, x + dx, y + dy, scale, grey(0));
            }
        }
        drawText(picture, text, x + 1, y + 1, scale, grey(255));
    }
}

}  // namespace rix::rendering
