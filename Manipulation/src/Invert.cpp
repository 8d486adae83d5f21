#include <rix/manipulation/Invert.h>

#include <rix/algorithms/Definition.h>

#include "PieceRows.h"
#include "PointFunction.h"
#include "RangeKernels.h"

namespace rix::manipulation {

namespace {

void declare(Invert& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose grey values are turned around.", AddRulesForRealImage());
    const auto meaning = [&algorithm] { return isBinary(algorithm.getInputImage()) ? RIX_BINARY : RIX_VALUE; };
    properties.output(algorithm.outputImage,
                      "The largest value less the voxel in unsigned types, the negative in others. Binary images stay "
                      "binary.",
                      AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage),
                      AddRuleEnforceLike(algorithm.inputImage, {.chosenInterpretation = meaning}));
}

void process(Invert& algorithm, OptimLevelType level) {
    const ImageModel& input = *algorithm.getInputImage();
    const bool binary = isBinary(&input);  // in place it stays so
    const VoxelTypes type = input.getVoxelType();
    const InvertRow row = invertRow(type, binary, level);
    const access::PieceInput inputs[] = {{input, type}};
    computePieces(algorithm.executionContext(), {.inputs = inputs, .computedAs = type}, *algorithm.getOutputImage(),
                  level, [&](const Piece& piece) { row(piece.in[0], piece.out, piece.count); });
}

constexpr algorithms::Definition<Invert> definition{
    .summary = "Turns bright to dark: the largest value minus the voxel, or the negative.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .memory = &pointMemory<Invert>,
};

}  // namespace

RIX_DEFINE_ALGORITHM(Invert, definition)

}  // namespace rix::manipulation
