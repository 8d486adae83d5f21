#include "LabelColours.h"

#include <array>
#include <cmath>

namespace rix::cli {

Colour labelColour(std::uint32_t label) {
    if (label == 0) {
        return {};
    }
    constexpr double goldenRatio = 0.61803398874989484820;
    constexpr double saturation = 0.75;
    constexpr double brightness = 0.95;
    constexpr double sectors = 6;
    const double turns = label * goldenRatio;
    const double hue = (turns - std::floor(turns)) * sectors;
    // A channel is full for a third of the circle and rises and falls over a sixth on either side.
    constexpr std::array<double, 3> rotation{5, 3, 1};
    std::array<std::uint8_t, 3> channels{};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const double k = std::fmod(rotation[i] + hue, sectors);
        const double missing = std::fmax(0, std::fmin(std::fmin(k, 4 - k), 1));
        channels[i] = static_cast<std::uint8_t>(std::lround(255 * brightness * (1 - saturation * missing)));
    }
    return {channels[0], channels[1], channels[2]};
}

}  // namespace rix::cli
