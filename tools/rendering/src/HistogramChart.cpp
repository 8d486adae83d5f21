#include <rix/rendering/HistogramChart.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include <rix/access/VoxelTypeLists.h>
#include <rix/analysis/AutoThresholdingMsr.h>
#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/exceptions/Exception.h>

#include <rix/description/Text.h>
#include <rix/rendering/NotDrawable.h>
#include <rix/rendering/Rows.h>
#include <rix/rendering/Text.h>

namespace rix::rendering {
namespace {

constexpr std::size_t chartWidth = 800;
constexpr std::size_t chartHeight = 500;
// The plotting area, with room for the numbers on the left and below and for the list of thresholds above.
constexpr std::size_t left = 90;
constexpr std::size_t right = 780;
constexpr std::size_t top = 90;
constexpr std::size_t bottom = 440;
constexpr Colour ink{40, 40, 40};
constexpr Colour bars{110, 140, 180};
constexpr Colour gridLine{225, 225, 225};

struct Mark {
    const char* name;
    Colour colour;
    std::optional<double> threshold;
};

/// Calls `visit` with the finite values of every row, and before each row `poll`.
template <class F>
void forEachValue(const ImageModel& image, const std::function<void()>& poll, const F& visit) {
    RowReader reader(image);
    for (std::size_t channel = 0; channel < image.getNumOf(SPECTRAL_SERIES); ++channel) {
        for (std::size_t frame = 0; frame < image.getNumOf(SEQUENCE); ++frame) {
            for (std::size_t plane = 0; plane < image.getNumOf(PLANS); ++plane) {
                for (std::size_t row = 0; row < image.getNumOf(ROWS); ++row) {
                    poll();
                    for (const double value : reader.readReals({row, plane, frame, channel})) {
                        if (std::isfinite(value)) {
                            visit(value);
                        }
                    }
                }
            }
        }
    }
}

std::optional<double> thresholdOf(const ImageModel& image, int criterion) {
    analysis::AutoThresholdingMsr result;
    analysis::AutoThresholdingValue algorithm;
    algorithm.setInputGrayImage(&image);
    algorithm.setThresholdCriterion(static_cast<analysis::AutoThresholdingValue::ThresholdCriterionType>(criterion));
    algorithm.setOutputMeasurement(&result);
    try {
        algorithm.run();
    } catch (const InvalidCall&) {
        return std::nullopt;  // nothing to part: a constant image, or the split is past the last class
    }
    return result.threshold[0];
}

/// 1, 2 or 5 times a power of ten: about `count` steps in a range.
double niceStep(double range, double count) {
    const double raw = range / count;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    const double digit = raw / power;
    return power * (digit <= 1 ? 1 : digit <= 2 ? 2 : digit <= 5 ? 5 : 10);
}

void drawVertical(Picture& picture, std::size_t x, std::size_t from, std::size_t to, Colour colour) {
    for (std::size_t y = from; y < to; ++y) {
        picture.row(y)[x] = colour;
    }
}

void drawHorizontal(Picture& picture, std::size_t y, std::size_t from, std::size_t to, Colour colour) {
    std::fill(picture.row(y) + from, picture.row(y) + to, colour);
}

/// Places of the chart for intensities and counts.
struct Scale {
    double minimum;
    double maximum;
    double highest;

    std::size_t x(double value) const {
        return left +
               static_cast<std::size_t>(std::lround((value - minimum) / (maximum - minimum) * (right - left - 1)));
    }
    std::size_t y(double count) const {
        return bottom - static_cast<std::size_t>(std::lround(count / highest * (bottom - top)));
    }
};

void drawAxes(Picture& picture, const Scale& scale) {
    const double stepX = niceStep(scale.maximum - scale.minimum, 8);
    for (double value = std::ceil(scale.minimum / stepX) * stepX; value <= scale.maximum; value += stepX) {
        const double shown = std::abs(value) < stepX * 1e-9 ? 0.0 : value;
        const std::string text = description::numberToText(static_cast<double>(static_cast<float>(shown)));
        const std::size_t x = scale.x(value);
        drawVertical(picture, x, bottom, bottom + 6, ink);
        drawText(picture, text, x - std::min(x, textWidth(text, 2) / 2), bottom + 12, 2, ink);
    }
    const double stepY = niceStep(scale.highest, 5);
    for (double count = 0; count <= scale.highest; count += stepY) {
        const std::string text = description::numberToText(count);
        const std::size_t y = scale.y(count);
        drawHorizontal(picture, y, left - 6, left, ink);
        drawText(picture, text, left - 12 - std::min(left - 12, textWidth(text, 2)), y - 7, 2, ink);
    }
    drawHorizontal(picture, bottom, left, right, ink);
    drawVertical(picture, left - 1, top, bottom + 1, ink);
    drawText(picture, "intensity (grey value)", (left + right - textWidth("intensity (grey value)", 2)) / 2,
             bottom + 38, 2, ink);
    drawText(picture, "voxels", 8, top - 24, 2, ink);
}

}  // namespace

Picture drawHistogram(const ImageModel& image, const std::function<void()>& poll) {
    if (!access::contains(access::Reals{}, image.getVoxelType())) {
        throw NotDrawable("a histogram needs real voxels: the image has the type " +
                          helper::voxelTypesToString(image.getVoxelType()));
    }
    double minimum = INFINITY;
    double maximum = -INFINITY;
    forEachValue(image, poll, [&](double value) {
        minimum = std::min(minimum, value);
        maximum = std::max(maximum, value);
    });
    if (minimum > maximum) {
        throw NotDrawable("a histogram needs voxels: the image has no finite one");
    }
    const bool integers = image.getVoxelType() != RIX_FLOAT32 && image.getVoxelType() != RIX_FLOAT64;
    const double end = integers ? maximum + 1 : maximum > minimum ? maximum : minimum + 1;

    // A bar is at least one pixel wide, and at least one value of an integer image.
    constexpr double columns = right - left;
    const auto bins = static_cast<std::size_t>(
        integers ? std::min(columns, std::ceil((end - minimum) / std::ceil((end - minimum) / columns))) : columns);
    std::vector<std::uint64_t> counts(bins, 0);
    forEachValue(image, poll, [&](double value) {
        ++counts[std::min(bins - 1,
                          static_cast<std::size_t>((value - minimum) / (end - minimum) * static_cast<double>(bins)))];
    });

    Picture picture(chartWidth, chartHeight, grey(255));
    const auto highest = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
    const Scale scale{minimum, end, highest};
    for (double count = niceStep(highest, 5); count <= highest; count += niceStep(highest, 5)) {
        drawHorizontal(picture, scale.y(count), left, right, gridLine);
    }
    for (std::size_t x = left; x < right; ++x) {
        const std::size_t bin = std::min(bins - 1, (x - left) * bins / (right - left));
        drawVertical(picture, x, scale.y(static_cast<double>(counts[bin])), bottom, bars);
    }
    drawAxes(picture, scale);

    Mark marks[] = {{"entropy", {200, 40, 40}, {}},
                    {"factorisation", {30, 130, 60}, {}},
                    {"moments", {150, 60, 170}, {}},
                    {"isodata", {200, 120, 0}, {}}};
    for (std::size_t i = 0; i < std::size(marks); ++i) {
        Mark& mark = marks[i];
        mark.threshold = thresholdOf(image, static_cast<int>(i));
        const std::string text =
            std::string(mark.name) + ": " +
            (mark.threshold ? description::numberToText(std::round(*mark.threshold * 1000) / 1000) : "none");
        drawText(picture, text, 90 + i % 2 * 360, 12 + i / 2 * 24, 2, mark.colour);
        if (mark.threshold && *mark.threshold >= minimum && *mark.threshold <= end) {
            const std::size_t x = scale.x(*mark.threshold);
            // Each line begins a little lower, so that equal thresholds are all seen.
            for (std::size_t dx = 0; dx < 2 && x + dx < right; ++dx) {
                drawVertical(picture, x + dx, top - 16 + i * 4, bottom, mark.colour);
            }
        }
    }
    return picture;
}

}  // namespace rix::rendering
