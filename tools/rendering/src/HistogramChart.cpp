#include <rix/rendering/HistogramChart.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include <rix/access/VoxelTypeLists.h>
#include <rix/analysis/AutoThresholdingMsr.h>
#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/analysis/IntensityExtrema.h>
#include <rix/analysis/IntensityHistogram.h>
#include <rix/description/Text.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelFull3d.h>
#include <rix/rendering/NotDrawable.h>

#include "Canvas.h"

namespace rix::rendering {
namespace {

constexpr std::size_t chartWidth = 800;
constexpr std::size_t chartHeight = 500;
// The plotting area, with room for the numbers on the left and below and for the list of thresholds above.
constexpr double left = 90;
constexpr double right = 780;
constexpr double top = 90;
constexpr double bottom = 440;
constexpr Colour ink{40, 40, 40};
constexpr Colour bars{110, 140, 180};
constexpr Colour gridLine{225, 225, 225};

struct Mark {
    const char* name;
    Colour colour;
    std::optional<double> threshold;
};

/// Which of the volumes of an image is shown: nothing where there is only one.
std::string nameOf(const ImageModel& image, std::size_t frame, std::size_t channel) {
    std::string text;
    const auto add = [&](const char* axis, std::size_t index, std::size_t extent) {
        if (extent > 1) {
            text += std::string(text.empty() ? "" : ", ") + axis + ' ' + std::to_string(index) + " of " +
                    std::to_string(extent);
        }
    };
    add("frame", frame, image.getNumOf(SEQUENCE));
    add("channel", channel, image.getNumOf(SPECTRAL_SERIES));
    return text;
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

/// The smallest and the greatest finite value; NaN without one.
std::pair<double, double> extremesOf(const ImageModel& image) {
    analysis::IntensityExtremaMsr result;
    analysis::IntensityExtrema algorithm;
    algorithm.setInputImage(&image);
    algorithm.setOutputMeasurement(&result);
    algorithm.run();
    return {result.minimum[0], result.maximum[0]};
}

measurement::MeasurementArray<std::int64_t> countsOf(const ImageModel& image, double start, double end,
                                                     std::size_t classes) {
    analysis::IntensityHistogramMsr result;
    analysis::IntensityHistogram algorithm;
    algorithm.setInputImage(&image);
    algorithm.setNumberOfClasses(static_cast<std::int32_t>(classes));
    algorithm.setRangeMode(analysis::IntensityHistogram::OTHER);
    algorithm.setRangeMinimum(start);
    algorithm.setRangeMaximum(end);
    algorithm.setOutputMeasurement(&result);
    algorithm.run();
    return result.count;
}

/// 1, 2 or 5 times a power of ten: about `count` steps in a range.
double niceStep(double range, double count) {
    const double raw = range / count;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    const double digit = raw / power;
    return power * (digit <= 1 ? 1 : digit <= 2 ? 2 : digit <= 5 ? 5 : 10);
}

/// Places of the chart for intensities and counts.
struct Scale {
    double minimum;
    double maximum;
    double highest;

    double x(double value) const { return left + (value - minimum) / (maximum - minimum) * (right - left); }
    double y(double count) const { return bottom - count / highest * (bottom - top); }
};

/// On a row or column of pixels, so that lines are sharp.
double onPixel(double position) {
    return std::floor(position) + 0.5;
}

void drawAxes(Canvas& canvas, const Scale& scale) {
    constexpr double tick = 6;
    constexpr TextStyle numbers{.size = 13, .colour = ink};
    constexpr TextStyle names{.size = 14, .colour = ink};
    const double stepX = niceStep(scale.maximum - scale.minimum, 8);
    for (double value = std::ceil(scale.minimum / stepX) * stepX; value <= scale.maximum; value += stepX) {
        const double shown = std::abs(value) < stepX * 1e-9 ? 0.0 : value;
        const double x = onPixel(scale.x(value));
        canvas.drawLine(x, bottom, x, bottom + tick, 1, ink);
        canvas.drawText(description::numberToText(static_cast<double>(static_cast<float>(shown))), x, bottom + 2 * tick,
                        numbers, Anchor::Middle, Anchor::Start);
    }
    const double stepY = niceStep(scale.highest, 5);
    for (double count = 0; count <= scale.highest; count += stepY) {
        const double y = onPixel(scale.y(count));
        canvas.drawLine(left - tick, y, left, y, 1, ink);
        canvas.drawText(description::numberToText(count), left - 2 * tick, y, numbers, Anchor::End, Anchor::Middle);
    }
    canvas.drawLine(left, onPixel(bottom), right, onPixel(bottom), 1, ink);
    canvas.drawLine(onPixel(left - 1), top, onPixel(left - 1), bottom + 1, 1, ink);
    canvas.drawText("intensity (grey value)", (left + right) / 2, bottom + 38, names, Anchor::Middle, Anchor::Start);
    canvas.drawText("voxels", left - 2 * tick, top - 26, names, Anchor::End, Anchor::Start);
}

void drawMark(Canvas& canvas, const Mark& mark, std::size_t place, const Scale& scale) {
    const auto index = static_cast<double>(place % 2);
    const auto line = static_cast<double>(place / 2);
    const std::string text =
        std::string(mark.name) + ": " +
        (mark.threshold ? description::numberToText(std::round(*mark.threshold * 1000) / 1000) : "none");
    canvas.drawText(text, left + index * 360, 14 + line * 24, {.size = 15, .colour = mark.colour, .bold = true},
                    Anchor::Start, Anchor::Start);
    if (mark.threshold && *mark.threshold >= scale.minimum && *mark.threshold <= scale.maximum) {
        // Each line begins a little lower, so that equal thresholds are all seen.
        const double x = std::min(std::floor(scale.x(*mark.threshold)) + 1, right - 1);
        canvas.drawLine(x, top - 16 + static_cast<double>(place) * 4, x, bottom, 2, mark.colour);
    }
}

}  // namespace

Picture drawHistogram(const ImageModel& whole, const SliceChoice& choice, const std::function<void()>& poll) {
    checkSlice(whole, {.plane = {}, .frame = choice.frame, .channel = choice.channel});
    const std::size_t frame = choice.frame.value_or(0);
    const std::size_t channel = choice.channel.value_or(0);
    const ImageModelFull3d image(&whole, frame, channel);
    // The first threshold of the whole image is computed from its first volume, but in the range of all.
    const bool isChosen = choice.frame.has_value() || choice.channel.has_value();
    const ImageModel& parted = isChosen ? static_cast<const ImageModel&>(image) : whole;
    if (!access::contains(access::Reals{}, image.getVoxelType())) {
        throw NotDrawable("a histogram needs real voxels: the image has the type " +
                          helper::voxelTypesToString(image.getVoxelType()));
    }
    poll();
    const auto [minimum, maximum] = extremesOf(image);
    if (!(minimum <= maximum)) {
        throw NotDrawable("a histogram needs voxels: the image has no finite one");
    }
    const bool integers = image.getVoxelType() != RIX_FLOAT32 && image.getVoxelType() != RIX_FLOAT64;
    const double end = integers            ? maximum + 1
                       : maximum > minimum ? maximum
                                           : minimum + std::max(1.0, std::abs(minimum));

    // A bar is at least one pixel wide, and at least one value of an integer image.
    constexpr double columns = right - left;
    const auto bins = static_cast<std::size_t>(
        integers ? std::min(columns, std::ceil((end - minimum) / std::ceil((end - minimum) / columns))) : columns);
    poll();
    const measurement::MeasurementArray<std::int64_t> counts = countsOf(image, minimum, end, bins);
    const auto highest = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
    const Scale scale{minimum, end, highest};
    Canvas canvas(Picture(chartWidth, chartHeight, grey(255)));
    for (double count = niceStep(highest, 5); count <= highest; count += niceStep(highest, 5)) {
        canvas.drawLine(left, onPixel(scale.y(count)), right, onPixel(scale.y(count)), 1, gridLine);
    }
    const double widthOfBar = (right - left) / static_cast<double>(bins);
    for (std::size_t bin = 0; bin < bins; ++bin) {
        const double from = std::round(left + static_cast<double>(bin) * widthOfBar);
        const double to = std::round(left + static_cast<double>(bin + 1) * widthOfBar);
        const double upper = std::round(scale.y(static_cast<double>(counts[bin])));
        canvas.fillRectangle(from, upper, to - from, bottom - upper, bars);
    }
    drawAxes(canvas, scale);
    canvas.drawText(nameOf(whole, frame, channel), right, top - 26, {.size = 14, .colour = ink}, Anchor::End,
                    Anchor::Start);

    Mark marks[] = {{"entropy", {200, 40, 40}, {}},
                    {"factorisation", {30, 130, 60}, {}},
                    {"moments", {150, 60, 170}, {}},
                    {"isodata", {200, 120, 0}, {}}};
    for (std::size_t i = 0; i < std::size(marks); ++i) {
        marks[i].threshold = thresholdOf(parted, static_cast<int>(i));
        drawMark(canvas, marks[i], i, scale);
    }
    return canvas.toPicture();
}

}  // namespace rix::rendering
