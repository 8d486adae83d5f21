#include "Axes.h"

#include <cctype>

#include "Errors.h"

namespace rix::python {

Components axisOfLetter(char letter) {
    const auto lower = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    const std::size_t axis = axisLetters.find(lower);
    if (axis == std::string_view::npos) {
        throw RefusedError(std::string("there is no axis '") + letter +
                           "': axes are x (columns), y (rows), z (planes), t (time) and c (channels)");
    }
    return static_cast<Components>(axis);
}

std::string axesOfArray(std::size_t dimensions, const std::string& named) {
    std::array<bool, RIX_COMPONENTS_SIZE> seen{};
    std::string axes;
    for (const char letter : named) {
        const Components axis = axisOfLetter(letter);
        if (seen[indexOf(axis)]) {
            throw RefusedError("axes=\"" + named + "\" names the axis '" + letter + "' twice");
        }
        seen[indexOf(axis)] = true;
        axes += axisLetters[indexOf(axis)];
    }
    if (!axes.empty() && axes.size() == dimensions) {
        return axes;
    }
    if (dimensions == 2 || dimensions == 3) {
        return dimensions == 2 ? "yx" : "zyx";
    }
    throw RefusedError(
        "an array of " + std::to_string(dimensions) + " dimensions needs its axes named" +
        (axes.empty() ? std::string() : ", and axes=\"" + named + "\" names " + std::to_string(axes.size())) +
        ": axes=\"tczyx\" style, with x (columns), y (rows), z (planes), t (time) and c (channels). Unnamed, two "
        "dimensions are (rows, columns) and three are (planes, rows, columns)");
}

std::string axesOfResult(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const std::string& reference) {
    std::string axes;
    const std::string& known = reference.empty() ? std::string("yx") : reference;
    for (const char letter : std::string_view("ctzyx")) {
        if (extents[axisLetters.find(letter)] != 1 && known.find(letter) == std::string::npos) {
            axes += letter;
        }
    }
    return axes + known;
}

}  // namespace rix::python
