#include "Canvas.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <rix/exceptions/Exception.h>

namespace rix::rendering {
namespace {

/// The family that scripts/setup installs; where it is missing the system has another one for it.
constexpr const char* fontFamily = "DejaVu Sans";

/// cairo's pixels: opacity in the highest byte, colours multiplied by it.
std::uint32_t packed(const Colour& colour) {
    const auto part = [&](std::uint8_t channel) { return (std::uint32_t{channel} * colour.opacity + 127) / 255; };
    return std::uint32_t{colour.opacity} << 24 | part(colour.red) << 16 | part(colour.green) << 8 | part(colour.blue);
}

Colour unpacked(std::uint32_t pixel) {
    const std::uint32_t opacity = pixel >> 24;
    const auto part = [&](int shift) {
        const std::uint32_t channel = pixel >> shift & 255;
        return static_cast<std::uint8_t>(opacity == 0 ? 0 : std::min(255U, (channel * 255 + opacity / 2) / opacity));
    };
    return {part(16), part(8), part(0), static_cast<std::uint8_t>(opacity)};
}

std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> makeSurface(const Picture& picture) {
    constexpr std::size_t mostPixels = 32767;  // of a side
    if (picture.width() > mostPixels || picture.height() > mostPixels) {
        throw MemoryError("a picture of " + std::to_string(picture.width()) + " x " + std::to_string(picture.height()) +
                          " pixels is too large to be drawn on: " + std::to_string(mostPixels) +
                          " a side are the most");
    }
    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface(
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(picture.width()),
                                   static_cast<int>(picture.height())),
        &cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        throw MemoryError("not enough memory to draw on a picture of " + std::to_string(picture.width()) + " x " +
                          std::to_string(picture.height()) + " pixels");
    }
    return surface;
}

/// The start of a row; rows lie `stride` bytes apart.
unsigned char* rowOf(cairo_surface_t* surface, std::size_t y) {
    return cairo_image_surface_get_data(surface) +
           y * static_cast<std::size_t>(cairo_image_surface_get_stride(surface));
}

double shifted(double position, double extent, Anchor anchor) {
    return anchor == Anchor::Start ? position : anchor == Anchor::Middle ? position - extent / 2 : position - extent;
}

}  // namespace

Canvas::Canvas(const Picture& picture)
    : m_surface(makeSurface(picture)), m_context(cairo_create(m_surface.get()), &cairo_destroy) {
    for (std::size_t y = 0; y < picture.height(); ++y) {
        unsigned char* pixel = rowOf(m_surface.get(), y);
        for (const Colour* colour = picture.row(y); colour != picture.row(y) + picture.width(); ++colour, pixel += 4) {
            const std::uint32_t value = packed(*colour);
            std::memcpy(pixel, &value, sizeof(value));
        }
    }
    cairo_surface_mark_dirty(m_surface.get());
    // The same letters on every screen and printer: nothing is taken from the settings of the desktop.
    const std::unique_ptr<cairo_font_options_t, decltype(&cairo_font_options_destroy)> options(
        cairo_font_options_create(), &cairo_font_options_destroy);
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(m_context.get(), options.get());
}

void Canvas::use(Colour colour) {
    cairo_set_source_rgba(m_context.get(), colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0,
                          colour.opacity / 255.0);
}

void Canvas::use(const TextStyle& style) {
    cairo_select_font_face(m_context.get(), fontFamily, CAIRO_FONT_SLANT_NORMAL,
                           style.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(m_context.get(), style.size);
}

void Canvas::fillRectangle(double x, double y, double width, double height, Colour colour) {
    cairo_set_antialias(m_context.get(), CAIRO_ANTIALIAS_NONE);
    use(colour);
    cairo_rectangle(m_context.get(), x, y, width, height);
    cairo_fill(m_context.get());
}

void Canvas::drawLine(double fromX, double fromY, double toX, double toY, double width, Colour colour) {
    cairo_set_antialias(m_context.get(), CAIRO_ANTIALIAS_DEFAULT);
    cairo_set_line_width(m_context.get(), width);
    use(colour);
    cairo_move_to(m_context.get(), fromX, fromY);
    cairo_line_to(m_context.get(), toX, toY);
    cairo_stroke(m_context.get());
}

TextSize Canvas::measure(const std::string& text, const TextStyle& style) {
    use(style);
    cairo_text_extents_t whole{};
    cairo_text_extents_t digit{};
    cairo_text_extents(m_context.get(), text.c_str(), &whole);
    cairo_text_extents(m_context.get(), "0", &digit);
    return {whole.x_advance, digit.height};
}

void Canvas::drawText(const std::string& text, double x, double y, const TextStyle& style, Anchor horizontal,
                      Anchor vertical) {
    const TextSize size = measure(text, style);
    cairo_set_antialias(m_context.get(), CAIRO_ANTIALIAS_DEFAULT);
    cairo_move_to(m_context.get(), shifted(x, size.width, horizontal), shifted(y, size.height, vertical) + size.height);
    if (style.edge.opacity == 0) {
        use(style.colour);
        cairo_show_text(m_context.get(), text.c_str());
        return;
    }
    cairo_text_path(m_context.get(), text.c_str());
    cairo_set_line_join(m_context.get(), CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_width(m_context.get(), style.size / 4);
    use(style.edge);
    cairo_stroke_preserve(m_context.get());
    use(style.colour);
    cairo_fill(m_context.get());
}

Picture Canvas::toPicture() const {
    if (const cairo_status_t status = cairo_status(m_context.get()); status != CAIRO_STATUS_SUCCESS) {
        throw RuntimeError(std::string("the picture can't be drawn: ") + cairo_status_to_string(status));
    }
    cairo_surface_flush(m_surface.get());
    Picture picture(static_cast<std::size_t>(cairo_image_surface_get_width(m_surface.get())),
                    static_cast<std::size_t>(cairo_image_surface_get_height(m_surface.get())));
    for (std::size_t y = 0; y < picture.height(); ++y) {
        const unsigned char* pixel = rowOf(m_surface.get(), y);
        for (Colour* colour = picture.row(y); colour != picture.row(y) + picture.width(); ++colour, pixel += 4) {
            std::uint32_t value = 0;
            std::memcpy(&value, pixel, sizeof(value));
            *colour = unpacked(value);
        }
    }
    return picture;
}

}  // namespace rix::rendering
