#include <rix/point_operations/ConvertImage.h>

#include <optional>
#include <span>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ScopedRule.h>
#include <rix/rules/ValueRules.h>

#include "ArithmeticRules.h"
#include "ConvertImagePrivate.h"
#include <rix/access/Pieces.h>
#include "PointRunners.h"

namespace rix::point_operations {

namespace {

using Private = ConvertImagePrivate;

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

AlgoInfo& ConvertImage::getInfo() {
    return algorithms::classRecord<ConvertImage>("ConvertImage", &addConvertImageRunners);
}

std::shared_ptr<ConvertImage> ConvertImage::New() {
    return std::make_shared<ConvertImage>();
}

ConvertImage::ConvertImage(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<Private>(given)) {
    Private& state = Private::of(*this);
    addInput(state.inputImage, "inputImage", "The image to convert.");
    addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertImageNotEmpty());
    addInput(state.outputType, "outputType", "What the image becomes.");
    addRules(state.outputType, AddRuleIsAnEnumOfType(getInfoOutputType()));
    addOutput(state.outputImage, "outputImage", "The image as the output type.");
    addRules(state.outputImage, AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(state.inputImage));
}

AlgoInfo& ConvertImage::getClassInfo() const {
    return getInfo();
}

int ConvertImage::getVersion() const {
    return 2;
}

void ConvertImage::applyAllRules() {
    Private& state = Private::of(*this);
    state.isBinary = isBinary(getInputImage());
    std::optional<ScopedRule> ofOutput;
    if (const OutputKind* const kind = outputKind(getOutputType()); kind != nullptr) {
        ofOutput.emplace(state.outputImage,
                         AddRuleEnforceImage(ImageCheck{kind->voxelType, state.inputImage, kind->interpretation}));
    }
    BaseAlgorithm::applyAllRules();
}

AlgorithmDescription ConvertImage::describe() const {
    AlgorithmDescription description;
    description.summary = "Converts an image to another voxel type, to a binary or to a label image.";
    description.kind = AlgorithmKind::Point;
    description.inPlace = true;
    description.extraMemory = access::pieceMemory(getMaximumThreads());
    const ImageModel* const image = getInputImage();
    const OutputKind* const kind = outputKind(getOutputType());
    if (image != nullptr && kind != nullptr) {
        description.outputs.push_back({"outputImage", kind->voxelType, helper::getExtents(*image)});
    }
    return description;
}

}  // namespace rix::point_operations
