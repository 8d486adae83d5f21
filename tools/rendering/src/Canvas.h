#pragma once

#include <memory>
#include <string>

#include <cairo.h>

#include <rix/rendering/Picture.h>

namespace rix::rendering {

/// Where something stands against a point.
enum class Anchor { Start, Middle, End };

struct TextStyle {
    double size = 12;  ///< of the font, in pixels
    Colour colour{};
    bool bold = false;
    Colour edge{0, 0, 0, 0};  ///< around the letters, so that they are read on any ground; transparent for none
};

struct TextSize {
    double width;
    double height;  ///< of digits and capitals
};

/// A picture while it is drawn on, in pixels: (0, 0) is the upper left corner of the first one. Colours without a
/// letter or a line on them come back as they were; drawing on what is transparent mixes colours by their opacity.
class Canvas {
public:
    /// @throws MemoryError for pictures that the drawing library can't hold (above 32767 pixels a side)
    explicit Canvas(const Picture& picture);

    /// Without soft edges: a rectangle of whole pixels has its colour and no other.
    void fillRectangle(double x, double y, double width, double height, Colour colour);
    void drawLine(double fromX, double fromY, double toX, double toY, double width, Colour colour);
    TextSize measure(const std::string& text, const TextStyle& style);
    /// Draws a text at a point; vertically the anchor is about the height of digits.
    void drawText(const std::string& text, double x, double y, const TextStyle& style, Anchor horizontal,
                  Anchor vertical);

    Picture toPicture() const;

private:
    void use(Colour colour);
    void use(const TextStyle& style);

    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> m_surface;
    std::unique_ptr<cairo_t, decltype(&cairo_destroy)> m_context;
};

}  // namespace rix::rendering
