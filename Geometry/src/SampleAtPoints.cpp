#include <rix/geometry/SampleAtPoints.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include <rix/algorithms/Definition.h>

#include "PlaceProperties.h"
#include "PointSampling.h"
#include "World.h"
#include "WorldTransform.h"

namespace rix::geometry {

namespace {

/// At least as many as a text has.
std::size_t mostPoints(std::string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), ';')) + 1;
}

/// Reads points of two or three coordinates; none where the text is something else.
std::optional<PointSampling::Places> readPoints(std::string_view text) {
    PointSampling::Places points;
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    const auto skipBlanks = [&] {
        while (!text.empty() && isBlank(text.front())) {
            text.remove_prefix(1);
        }
    };
    points.reserve(mostPoints(text));
    for (skipBlanks(); !text.empty(); skipBlanks()) {
        std::array<double, 3> point{};
        std::size_t count = 0;
        for (bool more = true; more; ++count) {
            skipBlanks();
            if (count == point.size()) {
                return std::nullopt;
            }
            if (!text.empty() && text.front() == '+') {
                text.remove_prefix(1);
            }
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), point[count]);
            if (error != std::errc() || !std::isfinite(point[count])) {
                return std::nullopt;
            }
            text.remove_prefix(static_cast<std::size_t>(end - text.data()));
            skipBlanks();
            more = !text.empty() && text.front() == ',';
            if (more) {
                text.remove_prefix(1);
            }
        }
        if (count < 2 || (!text.empty() && text.front() != ';')) {
            return std::nullopt;
        }
        text.remove_prefix(text.empty() ? 0 : 1);
        points.push_back(point);
    }
    return points;
}

class RuleIsPoints : public Rules<Property<String>> {
public:
    bool isIndividual() const override { return true; }
    void apply(Property<String>& property) override {
        if (!readPoints(property.get()).has_value()) {
            constexpr std::size_t most = 60;
            const String& text = property.get();
            rules::refuse(rules::parameterText(property) + ' ' + describe() + '.',
                          "It is \"" + text.substr(0, most) + (text.size() > most ? "...\"." : "\"."));
        }
    }
    String describe() const override { return "must be empty or points, \"x,y,z;x,y,z\""; }
};

class RuleSpansSpace : public Rules<Property<const ImageModel*>> {
public:
    void apply(Property<const ImageModel*>& property) override { assertSpans(*property.get(), property, 3); }
    String describe() const override { return "must have directions that span space"; }
};

PlaceJob jobOf(const SampleAtPoints& sampling) {
    const ImageModel& input = *sampling.getInputImage();
    return PointSampling::jobOf(input, degreeOf(sampling.getInterpolation(), input), sampling.getBorderPolicy(),
                                sampling.getBorderValue());
}

void declare(SampleAtPoints& sampling, algorithms::Properties& properties) {
    properties.input(sampling.inputImage, "The image whose values are wanted.", AddRulesForRealImage(),
                     AddRuleAssertPlaced());
    sampling.inputImage.getImpl()->addRule(std::make_shared<RuleSpansSpace>());
    sampling.points = "0,0,0";
    properties.input(sampling.points, "Points of the world, \"x,y,z;x,y,z\".");
    sampling.points.getImpl()->addRule(std::make_shared<RuleIsPoints>());
    properties.input(sampling.interpolation, "How samples between elements are found.");
    sampling.interpolation.getImpl()->addRule(std::make_shared<RuleSamplesMeaning>(sampling.inputImage, true));
    sampling.setBorderPolicy(access::BorderPolicy::FIXED);
    properties.border(sampling.borderPolicy, sampling.borderValue);
    properties.output(sampling.outputMeasurement, "A row for each point.", AddRuleCreateMeasurement());
}

void process(SampleAtPoints& sampling, OptimLevelType level) {
    const ImageModel& input = *sampling.getInputImage();
    const auto points = readPoints(sampling.getPoints()).value_or(PointSampling::Places());
    const ElementGrid grid = elementGridOf(placedHeader(input));
    PointValuesMsr& table = *sampling.getOutputMeasurement();
    const std::size_t copies = input.getNumOf(SEQUENCE) * input.getNumOf(SPECTRAL_SERIES);
    table.reset(input, points.size() * copies);
    PointSampling::Places places(points);
    for (std::array<double, 3>& place : places) {
        const Eigen::Vector3d at = grid.placeOf({place[0], place[1], place[2]});
        place = {at.x(), at.y(), at.z()};
    }
    const PointSampling samples(sampling.executionContext(), input, jobOf(sampling), places, level);
    std::size_t row = 0;
    samples.forEach([&](std::size_t frame, std::size_t channel, std::size_t point, double value) {
        table.setFrame(row, frame, channel);
        table.x[row] = points[point][0];
        table.y[row] = points[point][1];
        table.z[row] = points[point][2];
        table.value[row] = value;
        ++row;
    });
}

std::size_t memoryOf(const SampleAtPoints& sampling) {
    const std::size_t count = readPoints(sampling.getPoints()).value_or(PointSampling::Places()).size();
    return mostPoints(sampling.getPoints()) * sizeof(PointSampling::Places::value_type) +
           PointSampling::bytes(*sampling.getInputImage(), jobOf(sampling), count, sampling.getMaximumThreads());
}

constexpr algorithms::Definition<SampleAtPoints> definition{
    .summary = "Takes the values of an image at points of the world.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

void SampleAtPoints::setPoints(const std::vector<std::array<double, 3>>& numbers) {
    String text;
    for (const std::array<double, 3>& point : numbers) {
        for (std::size_t i = 0; i < point.size(); ++i) {
            char number[32];
            const auto written = std::to_chars(number, number + sizeof(number), point[i]);
            text.append(number, written.ptr);
            text += i + 1 < point.size() ? ',' : ';';
        }
    }
    points = text;
}

RIX_DEFINE_ALGORITHM(SampleAtPoints, definition)

}  // namespace rix::geometry
