#pragma once

#include <cstdint>
#include <vector>

namespace rix::rendering {

/// The range of values that a picture shows from black to white.
struct Window {
    double low = 0;
    double high = 0;
    bool operator==(const Window&) const = default;
};

/// The window between the 0.35 and the 99.65 percentile of the values, so that a few outliers don't darken the rest.
/// Their minimum and maximum where a percentile would cut off single values (fewer than 1024 of them) or where both
/// percentiles are the same value. What isn't finite has no part in it; 0 to 0 when nothing is left.
Window automaticWindow(std::vector<double> values);

/// The grey level of a value: black at and below the low end, white at and above the high end. A window without width
/// shows its value in middle grey. What is no number is black.
std::uint8_t toGreyLevel(double value, const Window& window);

}  // namespace rix::rendering
