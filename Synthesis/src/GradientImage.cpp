#include <rix/synthesis/GradientImage.h>

#include "Generation.h"

namespace rix::synthesis {

namespace {

void declare(GradientImage& generator, algorithms::Properties& properties) {
    declareShape(generator, properties);
    properties.input(generator.axis, "The axis along which values change.");
    properties.input(generator.firstValue, "The value at the first element of the axis.", AddRuleAssertFinite());
    generator.lastValue = 255.0;
    properties.input(generator.lastValue, "The value at the last element of the axis.", AddRuleAssertFinite());
    declareImage(generator, properties, "The gradient.");
}

void process(GradientImage& generator, OptimLevelType /*level*/) {
    ImageModel& output = *generator.getOutputImage();
    const auto axis = static_cast<std::size_t>(generator.getAxis());
    const auto last = static_cast<double>(output.getNumOf(static_cast<Components>(axis)) - 1);
    const double from = generator.getFirstValue();
    const double to = generator.getLastValue();
    // As a mean of both ends, which meets them exactly and whose range cannot be exceeded.
    const auto valueAt = [=](std::size_t index) {
        const double share = last > 0 ? static_cast<double>(index) / last : 0.0;
        return from * (1.0 - share) + to * share;
    };
    generate(generator, output, 2.0, [&](const access::Position& at, double* row, std::size_t count) {
        if (axis != COLUMNS) {
            std::fill_n(row, count, valueAt(axis == ROWS ? at.row : at.plane));
            return;
        }
        for (std::size_t i = 0; i < count; ++i) {
            row[i] = valueAt(at.column + i);
        }
    });
}

constexpr algorithms::Definition<GradientImage> definition{
    .summary = "Makes an image whose values go evenly from one value to another.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM_ON(ImageGenerator, GradientImage, algorithms::NoState, definition)

}  // namespace rix::synthesis
