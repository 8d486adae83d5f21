#pragma once

#include <string_view>

#include "Picture.h"

namespace rix::cli {

/// Letters of 5 by 7 dots, drawn with dots of `scale` pixels: enough for the axes of a chart without a font of the
/// system. Capital letters, digits and a few signs; small letters are drawn as capitals, other characters as blanks.
constexpr std::size_t letterWidth = 6;  ///< with the gap to the next
constexpr std::size_t letterHeight = 7;

std::size_t textWidth(std::string_view text, std::size_t scale);

/// Draws text with its upper left corner at (x, y); what lies outside the picture is cut off.
void drawText(Picture& picture, std::string_view text, std::size_t x, std::size_t y, std::size_t scale, Colour colour);

}  // namespace rix::cli
