#include <rix/rendering/Window.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace rix::rendering {
namespace {

constexpr std::size_t fewValues = 1024;
constexpr double lowPart = 0.0035;
constexpr double highPart = 0.9965;

double percentile(std::vector<double>& values, double part) {
    const auto rank = static_cast<std::ptrdiff_t>(std::llround(part * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), values.begin() + rank, values.end());
    return values[static_cast<std::size_t>(rank)];
}

}  // namespace

Window automaticWindow(std::vector<double> values) {
    std::erase_if(values, [](double value) { return !std::isfinite(value); });
    if (values.empty()) {
        return {};
    }
    if (values.size() >= fewValues) {
        const Window window{percentile(values, lowPart), percentile(values, highPart)};
        if (window.low < window.high) {
            return window;
        }
    }
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return {*low, *high};
}

std::uint8_t toGreyLevel(double value, const Window& window) {
    constexpr double white = 255;
    constexpr std::uint8_t middle = 128;
    if (std::isnan(value)) {
        return 0;
    }
    if (!(window.low < window.high)) {
        return value < window.low ? 0 : value > window.high ? static_cast<std::uint8_t>(white) : middle;
    }
    // Halved, since the width of a window may be beyond what a double holds.
    const double part =
        (std::clamp(value, window.low, window.high) / 2 - window.low / 2) / (window.high / 2 - window.low / 2);
    return static_cast<std::uint8_t>(std::lround(part * white));
}

}  // namespace rix::rendering
