#include <rix/synthesis/CoordinateImage.h>

#include "Generation.h"

namespace rix::synthesis {

namespace {

void declare(CoordinateImage& generator, algorithms::Properties& properties) {
    declareShape(generator, properties);
    properties.input(generator.axis, "The axis whose coordinate the voxels tell.");
    declareImage(generator, properties, "The coordinates.");
}

void process(CoordinateImage& generator, OptimLevelType /*level*/) {
    const auto axis = static_cast<std::size_t>(generator.getAxis());
    const double spacing = generator.getSpacing()[axis];
    generate(generator, *generator.getOutputImage(), 1.0,
             [=](const access::Position& at, double* row, std::size_t count) {
                 if (axis != COLUMNS) {
                     std::fill_n(row, count, static_cast<double>(axis == ROWS ? at.row : at.plane) * spacing);
                     return;
                 }
                 for (std::size_t i = 0; i < count; ++i) {
                     row[i] = static_cast<double>(at.column + i) * spacing;
                 }
             });
}

constexpr algorithms::Definition<CoordinateImage> definition{
    .summary = "Makes an image of world coordinates along an axis.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM_ON(ImageGenerator, CoordinateImage, algorithms::NoState, definition)

}  // namespace rix::synthesis
