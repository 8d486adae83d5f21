#include <rix/synthesis/CheckerboardImage.h>

#include "Generation.h"

namespace rix::synthesis {

namespace {

void declare(CheckerboardImage& generator, algorithms::Properties& properties) {
    declareShape(generator, properties);
    generator.squareSize = 16;
    properties.input(generator.squareSize, "Voxels of a square's side.", AddRuleAssertPositiveOnly());
    properties.input(generator.firstValue, "The value of the first square.");
    generator.lastValue = 255.0;
    properties.input(generator.lastValue, "The value of the squares beside it.");
    declareImage(generator, properties, "The board.");
}

void process(CheckerboardImage& generator, OptimLevelType /*level*/) {
    const auto size = static_cast<std::size_t>(generator.getSquareSize());
    const std::array<double, 2> values{generator.getFirstValue(), generator.getLastValue()};
    generate(generator, *generator.getOutputImage(), 1.0,
             [=](const access::Position& at, double* row, std::size_t count) {
                 const std::size_t above = at.row / size + at.plane / size;
                 for (std::size_t done = 0; done < count;) {
                     const std::size_t column = at.column + done;
                     const std::size_t n = std::min(size - column % size, count - done);
                     std::fill_n(row + done, n, values[(column / size + above) % 2]);
                     done += n;
                 }
             });
}

constexpr algorithms::Definition<CheckerboardImage> definition{
    .summary = "Makes a board of squares of two values.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM_ON(ImageGenerator, CheckerboardImage, algorithms::NoState, definition)

}  // namespace rix::synthesis
