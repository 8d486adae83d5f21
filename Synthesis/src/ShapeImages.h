#pragma once

#include <cstddef>

#include "Generation.h"
#include "ShapePainter.h"

/// What algorithms that draw shapes share.
namespace rix::synthesis {

/// Rough cost of a voxel in nanoseconds: most are background or inside.
inline constexpr double paintCost = 20.0;

/// Names the optional label image and the table, behind the image. @param count tells how many labels there may be
template <class Generator, class Count>
void declareLabels(Generator& generator, algorithms::Properties& properties, const Count& count) {
    properties.output(generator.outputLabelImage, "Optional: the number of the shape that a voxel's centre lies in.",
                      AddRuleEnforceHeader(
                          [&generator, count] {
                              ImageHeader header = headerOf(generator);
                              header.voxelType = labelTypeFor(count());
                              header.interpretation = RIX_LABEL;
                              return header;
                          },
                          "extents and spacing of the inputs, as a label image"));
    properties.output(generator.outputMeasurement, "The true sizes of the shapes.", AddRuleCreateMeasurement());
}

template <class Generator>
void drawLabels(Generator& generator, const ShapePainter& painter) {
    if (generator.getOutputLabelImage() == nullptr) {
        return;
    }
    generate(generator, *generator.getOutputLabelImage(), paintCost,
             [&](const access::Position& at, double* row, std::size_t count) {
                 std::fill_n(row, count, 0.0);
                 painter.label(at, row, count);
             });
}

}  // namespace rix::synthesis
