#include <rix/manipulation/ClampIntensity.h>

#include <algorithm>

#include <rix/access/RoundingKernels.h>
#include <rix/algorithms/Definition.h>
#include <rix/rules/CompareRules.h>

#include "PieceRows.h"
#include "PointFunction.h"
#include "RangeKernels.h"

namespace rix::manipulation {

namespace {

void declare(ClampIntensity& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose grey values are clamped.", AddRulesForRealImage());
    properties.input(algorithm.minimum, "What is below becomes this.", AddRuleAssertNotNaN());
    algorithm.maximum = 255.0;
    properties.input(algorithm.maximum, "What is above becomes this.", AddRuleAssertNotNaN(),
                     AddRuleCompare(CompareRelation::GreaterOrEqual, algorithm.minimum));
    properties.output(algorithm.outputImage, "The image within the range.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage),
                      AddRuleEnforceLike(algorithm.inputImage, {.interpretation = RIX_VALUE}));
}

void process(ClampIntensity& algorithm, OptimLevelType level) {
    const ImageModel& input = *algorithm.getInputImage();
    const VoxelTypes type = input.getVoxelType();
    const double reals[] = {algorithm.getMinimum(), algorithm.getMaximum()};
    double bounds[2];  // as samples of the type, whose widest takes this
    access::roundingRow(RIX_FLOAT64, type, level)(reals, bounds, 2);
    const ClampRow row = clampRow(type, level);
    const access::PieceInput inputs[] = {{input, type, algorithms::wasBinary(algorithm)}};
    computePieces(algorithm.executionContext(), {.inputs = inputs, .computedAs = type}, *algorithm.getOutputImage(),
                  level, [&](const Piece& piece) { row(piece.in[0], bounds, piece.out, piece.count); });
}

constexpr algorithms::Definition<ClampIntensity> definition{
    .summary = "Brings grey values into a range.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<ClampIntensity>,
    .memory = &pointMemory<ClampIntensity>,
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(ClampIntensity, algorithms::InputMeaning, definition)

}  // namespace rix::manipulation
