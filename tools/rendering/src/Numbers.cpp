#include <rix/rendering/Numbers.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "Canvas.h"

namespace rix::rendering {
namespace {

constexpr double smallestFont = 11;  // pixels; below it digits run together
constexpr double largestFont = 40;
constexpr std::size_t bytesOfNumber = std::size_t{1} << 14U;  ///< of work in memory, which takes as long as a number

/// What numbers have to know of an object, in pixels of the labels.
struct Object {
    std::size_t left = std::numeric_limits<std::size_t>::max();
    std::size_t top = std::numeric_limits<std::size_t>::max();
    std::size_t right = 0;   ///< the last column
    std::size_t bottom = 0;  ///< the last row
    double sumX = 0.0;
    double sumY = 0.0;
    double count = 0.0;
    double x = 0.0;  ///< where the number stands
    double y = 0.0;
    double distance = std::numeric_limits<double>::infinity();  ///< of that place from the centre, squared
};

std::map<std::uint32_t, Object> objectsOf(const LabelSlice& labels, helper::InterruptPoint interrupt) {
    std::map<std::uint32_t, Object> objects;
    const auto forEachPixel = [&](const auto& visit) {
        for (std::size_t y = 0; y < labels.height; ++y) {
            interrupt.pass(labels.width * sizeof(std::uint32_t));
            for (std::size_t x = 0; x < labels.width; ++x) {
                if (const std::uint32_t label = labels.at(x, y); label != 0) {
                    visit(objects[label], x, y);
                }
            }
        }
    };
    forEachPixel([](Object& object, std::size_t x, std::size_t y) {
        object.left = std::min(object.left, x);
        object.right = std::max(object.right, x);
        object.top = std::min(object.top, y);
        object.bottom = std::max(object.bottom, y);
        object.sumX += static_cast<double>(x) + 0.5;
        object.sumY += static_cast<double>(y) + 0.5;
        object.count += 1.0;
    });
    forEachPixel([](Object& object, std::size_t x, std::size_t y) {
        const double centreX = object.sumX / object.count;
        const double centreY = object.sumY / object.count;
        const double dx = std::clamp(centreX, static_cast<double>(x), static_cast<double>(x) + 1.0) - centreX;
        const double dy = std::clamp(centreY, static_cast<double>(y), static_cast<double>(y) + 1.0) - centreY;
        const double distance = dx * dx + dy * dy;
        if (distance < object.distance) {
            object.distance = distance;
            object.x = centreX + dx;
            object.y = centreY + dy;
        }
    });
    return objects;
}

TextStyle styleOf(double size) {
    return {.size = size, .colour = grey(255), .bold = true, .edge = grey(0)};
}

/// How many times the objects have to be enlarged for the smallest numbers to fit into nine of ten; 0 without objects.
double neededEnlargement(const std::map<std::uint32_t, Object>& objects, helper::InterruptPoint interrupt) {
    constexpr double share = 0.9;
    std::vector<double> factors;
    Canvas canvas(Picture(1, 1));
    const TextStyle style = styleOf(smallestFont);
    for (const auto& [label, object] : objects) {
        interrupt.pass(bytesOfNumber);
        const TextSize text = canvas.measure(std::to_string(label), style);
        factors.push_back(std::max(text.width / static_cast<double>(object.right - object.left + 1),
                                   text.height / static_cast<double>(object.bottom - object.top + 1)));
    }
    if (factors.empty()) {
        return 0;
    }
    const auto place = factors.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(factors.size() - 1));
    std::nth_element(factors.begin(), place, factors.end());
    return *place;
}

/// As large as the picture wants it, if numbers of that size fit into nine of ten objects, or as fits.
double fontSizeFor(double longerSide, double enlargement, double needed) {
    constexpr double lettersOfSide = 45;
    const double wanted = std::clamp(std::round(longerSide / lettersOfSide), smallestFont, largestFont);
    return needed > 0 ? std::clamp(std::floor(smallestFont * enlargement / needed), smallestFont, wanted) : wanted;
}

}  // namespace

std::size_t enlargementForNumbers(const LabelSlice& labels, helper::InterruptPoint interrupt) {
    constexpr std::size_t largestPicture = 2048;
    const std::size_t longerSide = std::max(labels.width, labels.height);
    const std::size_t most = longerSide == 0 ? 1 : std::max<std::size_t>(1, largestPicture / longerSide);
    return std::clamp<std::size_t>(
        static_cast<std::size_t>(std::ceil(neededEnlargement(objectsOf(labels, interrupt), interrupt))), 1, most);
}

void drawNumbers(Picture& picture, const LabelSlice& labels, helper::InterruptPoint interrupt) {
    const auto width = static_cast<double>(picture.width());
    const auto height = static_cast<double>(picture.height());
    const double factor = labels.width == 0 ? 1.0 : width / static_cast<double>(labels.width);
    const std::map<std::uint32_t, Object> objects = objectsOf(labels, interrupt);
    const TextStyle style =
        styleOf(fontSizeFor(std::max(width, height), factor, neededEnlargement(objects, interrupt)));
    const double edge = style.size / 8;
    Canvas canvas(picture);
    for (const auto& [label, object] : objects) {
        interrupt.pass(bytesOfNumber);
        const std::string text = std::to_string(label);
        const TextSize size = canvas.measure(text, style);
        // Inside the picture, also where the object is at its edge.
        const auto placed = [edge](double centre, double extent, double room) {
            const double half = extent / 2 + edge;
            return room < 2 * half ? room / 2 : std::clamp(centre, half, room - half);
        };
        canvas.drawText(text, placed(object.x * factor, size.width, width),
                        placed(object.y * factor, size.height, height), style, Anchor::Middle, Anchor::Middle);
    }
    picture = canvas.toPicture();
}

}  // namespace rix::rendering
