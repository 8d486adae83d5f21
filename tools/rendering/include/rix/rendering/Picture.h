#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/image/MemoryImage.h>

namespace rix::rendering {

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t opacity = 255;
    bool operator==(const Colour&) const = default;
};

constexpr Colour grey(std::uint8_t level) {
    return {level, level, level, 255};
}

/// A picture for people: 8 bits a channel, rows from the top, columns from the left.
class Picture {
public:
    /// @throws MemoryError when the number of pixels can't be counted.
    Picture(std::size_t width, std::size_t height, Colour background = {});

    std::size_t width() const { return m_width; }
    std::size_t height() const { return m_height; }
    /// The first pixel of a row.
    Colour* row(std::size_t y) { return m_pixels.data() + y * m_width; }
    const Colour* row(std::size_t y) const { return m_pixels.data() + y * m_width; }

    /// True when no pixel has a colour of its own.
    bool isGrey() const;
    /// True when nothing shines through.
    bool isOpaque() const;

private:
    std::size_t m_width;
    std::size_t m_height;
    std::vector<Colour> m_pixels;
};

/// Two pictures on white, the tops level, `gap` columns between them.
Picture sideBySide(const Picture& left, const Picture& right, std::size_t gap);

/// The picture laid on white: nothing shines through.
Picture onWhite(Picture picture);

/// The picture with every pixel a square of `factor` pixels a side.
Picture enlarged(const Picture& picture, std::size_t factor);

/// The picture as an image that a picture file can hold: one channel when it is grey and opaque, else RGB on the
/// spectral axis, with the opacity as a fourth channel where it is needed.
io::MemoryImage toImage(const Picture& picture);

}  // namespace rix::rendering
