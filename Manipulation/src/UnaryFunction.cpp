#include <rix/manipulation/UnaryFunction.h>

#include <rix/algorithms/Definition.h>
#include <rix/properties/EnumInfo.h>

#include "MathKernels.h"
#include "PointFunction.h"

namespace rix::manipulation {

namespace {

/// Whether results are of the type of what they are of.
bool keepsType(UnaryFunction::Function function) {
    switch (function) {
        case UnaryFunction::ABSOLUTE:
        case UnaryFunction::SIGN:
        case UnaryFunction::FLOOR:
        case UnaryFunction::CEILING:
        case UnaryFunction::ROUND:
        case UnaryFunction::TRUNCATE: return true;
        default: return false;
    }
}

VoxelTypes outputTypeOf(const UnaryFunction& algorithm) {
    const VoxelTypes type = algorithm.getInputImage()->getVoxelType();
    return keepsType(algorithm.getFunction()) || type == RIX_FLOAT64 ? type : RIX_FLOAT32;
}

void declare(UnaryFunction& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image of whose voxels a function is computed.", AddRulesForRealImage());
    properties.input(algorithm.function, "The function.");
    properties.output(
        algorithm.outputImage, "The function of every voxel, real but for magnitude, sign and rounding.",
        AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage),
        AddRuleEnforceLike(algorithm.inputImage, {.interpretation = RIX_VALUE,
                                                  .chosenType = [&algorithm] { return outputTypeOf(algorithm); }}));
}

void process(UnaryFunction& algorithm, OptimLevelType level) {
    const auto function = static_cast<MathFunction>(algorithm.getFunction());  // in the same order
    const auto rows = [&]<class T>(const T* in, T* out, std::size_t count) {
        mathRow<T>(function, level)(in, out, count);
    };
    applyFunction(algorithm, *algorithm.getInputImage(), algorithms::wasBinary(algorithm), *algorithm.getOutputImage(),
                  level, nanosecondsOf(function), rows);
}

constexpr algorithms::Definition<UnaryFunction> definition{
    .summary = "Replaces every voxel by a function of it: a root, a logarithm, a sine ...",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<UnaryFunction>,
    .memory = &pointMemory<UnaryFunction>,
};

}  // namespace

const EnumInfo& UnaryFunction::getInfoFunction() {
    static const EnumInfo info(
        "Function",
        "ABSOLUTE = 0, SQUARE_ROOT, EXPONENTIAL, LOGARITHM, SINE, COSINE, TANGENT, ARC_SINE, "
        "ARC_COSINE, ARC_TANGENT, LOGARITHM_2, LOGARITHM_10, CUBE_ROOT, SQUARE, RECIPROCAL, SIGN, "
        "FLOOR, CEILING, ROUND, TRUNCATE");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(UnaryFunction, algorithms::InputMeaning, definition)

}  // namespace rix::manipulation
