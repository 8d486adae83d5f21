#include <cstddef>
#include <cstdint>

#include <rix/algorithms/Definition.h>
#include <rix/point_operations/LogicalOperationWithImage.h>
#include <rix/point_operations/LogicalOperationWithValue.h>

#include "GenericPointOperation.h"
#include "ImagePairToImageFilter3d.h"
#include "LogicalKernels.h"
#include "PointRows.h"
#include "PointWork.h"

namespace rix::point_operations {

namespace {

constexpr const char* operatorText = "How the bits of the operands are combined.";

/// One rule for each thing that the output takes, whose messages tell them apart; the last describes what comes of it.
struct LikeTheFirst {
    const Property<const ImageModel*>& first;
    void operator()(Property<ImageModel*>& output) const {
        addRules(output, AddRuleEnforceSameSizeCalibrationAndType(first), AddRuleEnforceSameInterpretation(first),
                 AddRuleEnforceSameColorInterpretation(first), AddRuleEnforceLike(first));
    }
};

void declareWithImage(LogicalOperationWithImage& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage1, "The first operand.", AddRulesForIntegerImage(),
                     AddRuleAssertBinaryIfBinary(algorithm.inputImage2));
    properties.input(algorithm.inputImage2, "The second operand.", AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
                     AddRuleAssertInteger(), AddRuleAssertSameSize(algorithm.inputImage1),
                     AddRuleAssertSameType(algorithm.inputImage1), AddRuleAssertBinaryIfBinary(algorithm.inputImage1));
    properties.input(algorithm.logicalOperator, operatorText);
    properties.output(algorithm.outputImage, "The first operand combined with the second, bit by bit.",
                      AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage1),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage2), LikeTheFirst{algorithm.inputImage1});
}

void declareWithValue(LogicalOperationWithValue& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The first operand.", AddRulesForIntegerImage());
    properties.input(
        algorithm.value,
        "The second operand of every voxel: its low bits; with a binary image, whether it differs from 0.");
    properties.input(algorithm.logicalOperator, operatorText);
    properties.output(algorithm.outputImage, "The image combined with the value, bit by bit.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage), LikeTheFirst{algorithm.inputImage});
}

void processImages(LogicalOperationWithImage& algorithm, OptimLevelType level) {
    const ImageModel& first = *algorithm.getInputImage1();
    const ImageModel& second = *algorithm.getInputImage2();
    ImageModel& output = *algorithm.getOutputImage();
    const bool binary = output.getInterpretation() == RIX_BINARY;
    const std::size_t bytes = helper::getElementSize(output);
    const access::Stores stores = access::storesFor(output);
    const PairRow row = logicalRows(bytes, binary, stores, level).pair[algorithm.getLogicalOperator()];

    const ImagePairToImageFilter3d filter({first, first.getVoxelType(), binary}, {second, first.getVoxelType(), binary},
                                          output, level);
    filter.run(algorithm.executionContext(), nanosecondsPerByte * static_cast<double>(3 * bytes), stores, row);
}

void processValue(LogicalOperationWithValue& algorithm, OptimLevelType level) {
    ImageModel& output = *algorithm.getOutputImage();
    const bool binary = output.getInterpretation() == RIX_BINARY;
    const std::size_t bytes = helper::getElementSize(output);
    const access::Stores stores = access::storesFor(output);
    const ValueRow row = logicalRows(bytes, binary, stores, level).value[algorithm.getLogicalOperator()];
    const long operand = binary ? algorithm.getValue() != 0 : algorithm.getValue();
    const auto value8 = static_cast<std::uint8_t>(operand);
    const auto value16 = static_cast<std::uint16_t>(operand);
    const auto value32 = static_cast<std::uint32_t>(operand);
    const void* const value = bytes == 1   ? static_cast<const void*>(&value8)
                              : bytes == 2 ? static_cast<const void*>(&value16)
                                           : static_cast<const void*>(&value32);

    const auto functor = [&](const void* in, void* out, std::size_t count) { row(in, value, out, count); };
    const GenericPointOperationImageToImageInfo info{*algorithm.getInputImage(), binary, output, algorithm};
    const GenericPointOperationImageToImageScalarOneTypeBody body(info, functor, stores, level);
    runGenericPointOperation(info, body, nanosecondsPerByte * static_cast<double>(2 * bytes));
}

constexpr algorithms::Definition<LogicalOperationWithImage> withImage{
    .summary = "Combines two integer or binary images bit by bit.",
    .kind = AlgorithmKind::Point,
    .declare = &declareWithImage,
    .process = &processImages,
    .memory = &passMemory,
};

constexpr algorithms::Definition<LogicalOperationWithValue> withValue{
    .summary = "Combines every voxel of an integer or binary image with a value bit by bit.",
    .kind = AlgorithmKind::Point,
    .declare = &declareWithValue,
    .process = &processValue,
    .memory = &passMemory,
};

}  // namespace

RIX_DEFINE_ALGORITHM(LogicalOperationWithImage, withImage)
RIX_DEFINE_ALGORITHM(LogicalOperationWithValue, withValue)

}  // namespace rix::point_operations
