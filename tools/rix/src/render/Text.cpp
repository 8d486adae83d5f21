#include "Text.h"

#include <array>
#include <cctype>
#include <cstdint>

namespace rix::cli {
namespace {

/// A letter: seven rows of five dots, the leftmost dot in bit 4.
struct Letter {
    char character;
    std::array<std::uint8_t, letterHeight> rows;
};

constexpr Letter letters[] = {
    {'0', {14, 17, 19, 21, 25, 17, 14}}, {'1', {4, 12, 4, 4, 4, 4, 14}},      {'2', {14, 17, 1, 2, 4, 8, 31}},
    {'3', {31, 2, 4, 2, 1, 17, 14}},     {'4', {2, 6, 10, 18, 31, 2, 2}},     {'5', {31, 16, 30, 1, 1, 17, 14}},
    {'6', {6, 8, 16, 30, 17, 17, 14}},   {'7', {31, 1, 2, 4, 8, 8, 8}},       {'8', {14, 17, 17, 14, 17, 17, 14}},
    {'9', {14, 17, 17, 15, 1, 2, 12}},   {'A', {14, 17, 17, 31, 17, 17, 17}}, {'B', {30, 17, 17, 30, 17, 17, 30}},
    {'C', {14, 17, 16, 16, 16, 17, 14}}, {'D', {30, 17, 17, 17, 17, 17, 30}}, {'E', {31, 16, 16, 30, 16, 16, 31}},
    {'F', {31, 16, 16, 30, 16, 16, 16}}, {'G', {14, 17, 16, 23, 17, 17, 15}}, {'H', {17, 17, 17, 31, 17, 17, 17}},
    {'I', {14, 4, 4, 4, 4, 4, 14}},      {'J', {7, 2, 2, 2, 2, 18, 12}},      {'K', {17, 18, 20, 24, 20, 18, 17}},
    {'L', {16, 16, 16, 16, 16, 16, 31}}, {'M', {17, 27, 21, 21, 17, 17, 17}}, {'N', {17, 17, 25, 21, 19, 17, 17}},
    {'O', {14, 17, 17, 17, 17, 17, 14}}, {'P', {30, 17, 17, 30, 16, 16, 16}}, {'Q', {14, 17, 17, 17, 21, 18, 13}},
    {'R', {30, 17, 17, 30, 20, 18, 17}}, {'S', {15, 16, 16, 14, 1, 1, 30}},   {'T', {31, 4, 4, 4, 4, 4, 4}},
    {'U', {17, 17, 17, 17, 17, 17, 14}}, {'V', {17, 17, 17, 17, 17, 10, 4}},  {'W', {17, 17, 17, 21, 21, 21, 10}},
    {'X', {17, 17, 10, 4, 10, 17, 17}},  {'Y', {17, 17, 17, 10, 4, 4, 4}},    {'Z', {31, 1, 2, 4, 8, 16, 31}},
    {'.', {0, 0, 0, 0, 0, 12, 12}},      {'-', {0, 0, 0, 31, 0, 0, 0}},       {'+', {0, 4, 4, 31, 4, 4, 0}},
    {':', {0, 12, 12, 0, 12, 12, 0}},    {'%', {24, 25, 2, 4, 8, 19, 3}},     {'/', {0, 1, 2, 4, 8, 16, 0}},
    {'(', {2, 4, 8, 8, 8, 4, 2}},        {')', {8, 4, 2, 2, 2, 4, 8}},        {',', {0, 0, 0, 0, 12, 4, 8}},
};

const Letter* findLetter(char character) {
    const auto capital = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    for (const Letter& letter : letters) {
        if (letter.character == capital) {
            return &letter;
        }
    }
    return nullptr;
}

}  // namespace

std::size_t textWidth(std::string_view text, std::size_t scale) {
    return text.empty() ? 0 : (text.size() * letterWidth - 1) * scale;
}

void drawText(Picture& picture, std::string_view text, std::size_t x, std::size_t y, std::size_t scale, Colour colour) {
    for (const char character : text) {
        if (const Letter* const letter = findLetter(character); letter != nullptr) {
            for (std::size_t dy = 0; dy < letterHeight * scale && y + dy < picture.height(); ++dy) {
                for (std::size_t dx = 0; dx < 5 * scale && x + dx < picture.width(); ++dx) {
                    if ((letter->rows[dy / scale] >> (4 - dx / scale) & 1) != 0) {
                        picture.row(y + dy)[x + dx] = colour;
                    }
                }
            }
        }
        x += letterWidth * scale;
    }
}

}  // namespace rix::cli
