#include <cstddef>
#include <cstdint>

#include <rix/algorithms/LevelRunner.h>
#include <rix/point_operations/LogicalOperationWithImage.h>
#include <rix/point_operations/LogicalOperationWithValue.h>

#include "GenericPointOperation.h"
#include "ImagePairToImageFilter3d.h"
#include "LogicalKernels.h"
#include "PointRunners.h"

namespace rix::point_operations {

namespace {

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
    const long operand = binary ? algorithm.getValue() & 1 : algorithm.getValue();
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

}  // namespace

void addLogicalOperationWithImageRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<LogicalOperationWithImage, &processImages,
                                &algorithms::acceptsAll<LogicalOperationWithImage>>(info);
}

void addLogicalOperationWithValueRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<LogicalOperationWithValue, &processValue,
                                &algorithms::acceptsAll<LogicalOperationWithValue>>(info);
}

}  // namespace rix::point_operations
