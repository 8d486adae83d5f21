#include <rix/point_operations/ConvertImage.h>

#include <span>

#include <rix/access/LevelCasts.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

#include "GenericPointOperation.h"
#include "PointRows.h"
#include "PointWork.h"
#include "Wrapping.h"

namespace rix::point_operations {

namespace {

/// What an output type makes of the output.
struct OutputKind {
    VoxelTypes voxelType;
    Interpretations interpretation;
};

/// By the values of `ConvertImage::OutputType`.
constexpr OutputKind outputKinds[] = {
    {RIX_UINT8, RIX_VALUE},           {RIX_INT8, RIX_VALUE},    {RIX_UINT16, RIX_VALUE},
    {RIX_INT16, RIX_VALUE},           {RIX_UINT32, RIX_VALUE},  {RIX_INT32, RIX_VALUE},
    {RIX_FLOAT32, RIX_VALUE},         {RIX_FLOAT64, RIX_VALUE}, {RIX_COMPLEX_FLOAT32, RIX_VALUE},
    {RIX_COMPLEX_FLOAT64, RIX_VALUE}, {RIX_UINT8, RIX_BINARY},  {RIX_UINT8, RIX_LABEL},
    {RIX_UINT16, RIX_LABEL},          {RIX_UINT32, RIX_LABEL},
};

const OutputKind* outputKind(int outputType) {
    const std::span kinds(outputKinds);
    const auto index = static_cast<std::size_t>(outputType);  // a negative one becomes a large index
    return index < kinds.size() ? &kinds[index] : nullptr;
}

void declare(ConvertImage& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image to convert.", AddRulesForScalarImage());
    properties.input(algorithm.outputType, "What the image becomes.");
    const auto kind = [&algorithm] { return *outputKind(algorithm.getOutputType()); };
    properties.output(
        algorithm.outputImage,
        "The image as the output type. Integers keep their low bits and reals are truncated: what the type does "
        "not hold wraps (300 becomes 44 in 8 bits), nothing is clamped.",
        AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage),
        AddRuleEnforceLike(algorithm.inputImage, {.chosenType = [kind] { return kind().voxelType; },
                                                  .chosenInterpretation = [kind] { return kind().interpretation; }}));
}

/// Converts the input, in its own type, row by row.
void convertRows(const GenericPointOperationImageToImageInfo& info, access::CastRow row, access::Stores stores,
                 OptimLevelType level) {
    const auto functor = [row](ConstRawData in, RawData out, std::size_t count) {
        if (in != out) {  // nothing to do in place: the types are the same then
            row(in, out, count);
        }
    };
    const std::size_t bytes = helper::getElementSize(info.input) + helper::getElementSize(info.output);
    const GenericPointOperationImageToImageScalarTwoTypesBody body(info, functor, stores, level);
    runGenericPointOperation(info, body, nanosecondsPerByte * static_cast<double>(bytes));
}

/// 1 where a voxel differs from 0: thresholding, on the level of this run.
void makeBinary(ConvertImage& algorithm, OptimLevelType level) {
    using segmentation::ThresholdingByCriterion;
    ThresholdingByCriterion thresholding;
    thresholding.setInputGrayImage(algorithm.getInputImage());
    thresholding.setComparisonCriterion(ThresholdingByCriterion::NOT_EQUAL_TO);
    thresholding.setComparisonValue(0);
    thresholding.setOutputBinaryImage(algorithm.getOutputImage());
    algorithms::runChild(algorithm, thresholding, level);
}

void process(ConvertImage& algorithm, OptimLevelType level) {
    const GenericPointOperationImageToImageInfo info{*algorithm.getInputImage(), algorithms::wasBinary(algorithm),
                                                     *algorithm.getOutputImage(), algorithm};
    const VoxelTypes from = info.input.getVoxelType();
    const access::Stores stores = access::storesFor(info.output);
    if (algorithm.getOutputType() != ConvertImage::BINARY) {
        convertRows(info, access::castRowOf(from, info.output.getVoxelType(), stores, level), stores, level);
    } else if (access::contains(access::Complexes{}, from)) {
        convertRows(info, access::truthRowOf(from, stores, level), stores,
                    level);  // thresholding takes what has an order
    } else {
        makeBinary(algorithm, level);
    }
}

constexpr algorithms::Definition<ConvertImage> definition{
    .summary = "Converts an image to another voxel type, to a binary or to a label image.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<ConvertImage>,
    .memory = &passMemory,
    .wrapped = [](const ConvertImage& algorithm, access::ExecutionContext& context) -> std::uint64_t {
        const bool binary = algorithm.getOutputType() == ConvertImage::BINARY;
        return binary ? 0
                      : countWrappedCasts(context, *algorithm.getInputImage(),
                                          outputKind(algorithm.getOutputType())->voxelType);
    },
};

}  // namespace

const EnumInfo& ConvertImage::getInfoOutputType() {
    static const EnumInfo info("OutputType",
                               "UNSIGNED_INTEGER_8_BIT = 0, SIGNED_INTEGER_8_BIT, UNSIGNED_INTEGER_16_BIT, "
                               "SIGNED_INTEGER_16_BIT, UNSIGNED_INTEGER_32_BIT, SIGNED_INTEGER_32_BIT, FLOAT_32_BIT, "
                               "FLOAT_64_BIT, COMPLEX_FLOAT_32_BIT, COMPLEX_FLOAT_64_BIT, BINARY, LABEL_8_BIT, "
                               "LABEL_16_BIT, LABEL_32_BIT");
    return info;
}

int ConvertImage::getOutputTypeFromVoxelTypes(VoxelTypes type, bool isLabel) {
    const Interpretations interpretation = isLabel ? RIX_LABEL : RIX_VALUE;
    int value = 0;
    for (const OutputKind& kind : outputKinds) {
        if (kind.voxelType == type && kind.interpretation == interpretation) {
            return value;
        }
        ++value;
    }
    return -1;
}

int ConvertImage::getVersion() const {
    return 2;
}

RIX_DEFINE_ALGORITHM_WITH(ConvertImage, algorithms::InputMeaning, definition)

}  // namespace rix::point_operations
