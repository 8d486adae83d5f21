#include <rix/rendering/Picture.h>

#include <algorithm>
#include <array>

#include <rix/exceptions/Exception.h>

namespace rix::rendering {
namespace {

std::size_t pixelCount(std::size_t width, std::size_t height) {
    std::size_t count = 0;
    if (!helper::checkedMultiply(width, height, count)) {
        throw MemoryError("a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                          " pixels is too large");
    }
    return count;
}

constexpr std::array<std::uint8_t Colour::*, 4> channels{&Colour::red, &Colour::green, &Colour::blue, &Colour::opacity};

}  // namespace

Picture::Picture(std::size_t width, std::size_t height, Colour background)
    : m_width(width), m_height(height), m_pixels(pixelCount(width, height), background) {}

bool Picture::isGrey() const {
    return std::all_of(m_pixels.begin(), m_pixels.end(),
                       [](const Colour& pixel) { return pixel.red == pixel.green && pixel.green == pixel.blue; });
}

bool Picture::isOpaque() const {
    return std::all_of(m_pixels.begin(), m_pixels.end(), [](const Colour& pixel) { return pixel.opacity == 255; });
}

Picture sideBySide(const Picture& left, const Picture& right, std::size_t gap) {
    constexpr Colour white = grey(255);
    Picture both(left.width() + gap + right.width(), std::max(left.height(), right.height()), white);
    for (std::size_t y = 0; y < left.height(); ++y) {
        std::copy_n(left.row(y), left.width(), both.row(y));
    }
    for (std::size_t y = 0; y < right.height(); ++y) {
        std::copy_n(right.row(y), right.width(), both.row(y) + left.width() + gap);
    }
    return both;
}

Picture onWhite(Picture picture) {
    const auto mix = [](std::uint8_t channel, std::uint8_t opacity) {
        return static_cast<std::uint8_t>((channel * opacity + 255 * (255 - opacity) + 127) / 255);
    };
    for (std::size_t y = 0; y < picture.height(); ++y) {
        for (Colour* pixel = picture.row(y); pixel != picture.row(y) + picture.width(); ++pixel) {
            const std::uint8_t opacity = pixel->opacity;
            *pixel = {mix(pixel->red, opacity), mix(pixel->green, opacity), mix(pixel->blue, opacity)};
        }
    }
    return picture;
}

Picture enlarged(const Picture& picture, std::size_t factor) {
    Picture large(pixelCount(picture.width(), factor), pixelCount(picture.height(), factor));
    for (std::size_t y = 0; y < large.height(); ++y) {
        const Colour* const from = picture.row(y / factor);
        for (std::size_t x = 0; x < large.width(); ++x) {
            large.row(y)[x] = from[x / factor];
        }
    }
    return large;
}

io::MemoryImage toImage(const Picture& picture) {
    const std::size_t numOfChannels = !picture.isOpaque() ? 4 : picture.isGrey() ? 1 : 3;
    io::MemoryImage image;
    if (!image.reserve(RIX_UINT8, picture.width(), picture.height(), 1, 1, numOfChannels)) {
        throw MemoryError("not enough memory for a picture of " + std::to_string(picture.width()) + " x " +
                          std::to_string(picture.height()) + " pixels");
    }
    bool done = image.setSpacingOf(COLUMNS, 1) && image.setSpacingOf(ROWS, 1) &&
                image.setColorInterpretation(numOfChannels == 1 ? UNKNOWN : RGB);
    std::vector<std::uint8_t> samples(picture.width());
    for (std::size_t channel = 0; channel < numOfChannels; ++channel) {
        for (std::size_t y = 0; y < picture.height(); ++y) {
            std::transform(picture.row(y), picture.row(y) + picture.width(), samples.begin(),
                           [&](const Colour& pixel) { return pixel.*channels[channel]; });
            done = done && image.writeRowAt(picture.width(), samples.data(), 0, y, 0, 0, channel);
        }
    }
    if (!done) {
        throw UnexpectedError("the picture can't be turned into an image");
    }
    return image;
}

}  // namespace rix::rendering
