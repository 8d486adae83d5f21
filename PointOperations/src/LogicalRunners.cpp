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

/// One of three things by the width of a sample: 1, 2 or 4 bytes.
template <class T>
const T& byWidth(std::size_t bytes, const T& of8, const T& of16, const T& of32) {
    return bytes == 1 ? of8 : bytes == 2 ? of16 : of32;
}

/// What a binary output stores of a row of results; null for other outputs.
SingleRow lowestBitRowOf(const LogicalRows& rows, const ImageModel& output) {
    return output.getInterpretation() == RIX_BINARY
               ? byWidth(helper::getElementSize(output), rows.lowestBit8, rows.lowestBit16, rows.lowestBit32)
               : nullptr;
}

void processImages(LogicalOperationWithImage& algorithm, OptimLevelType level) {
    const ImageModel& first = *algorithm.getInputImage1();
    const ImageModel& second = *algorithm.getInputImage2();
    ImageModel& output = *algorithm.getOutputImage();
    const LogicalRows& rows = logicalRows(level);
    const PairRow combine = rows.pairOfBytes[algorithm.getLogicalOperator()];
    const SingleRow lowestBit = lowestBitRowOf(rows, output);
    const bool binary = lowestBit != nullptr;
    const std::size_t bytes = helper::getElementSize(output);

    const ImagePairToImageFilter3d filter({first, first.getVoxelType(), binary}, {second, first.getVoxelType(), binary},
                                          output, level);
    filter.run(algorithm.executionContext(), nanosecondsPerByte * static_cast<double>(3 * bytes),
               [&](const void* a, const void* b, void* out, std::size_t count) {
                   combine(a, b, out, count * bytes);
                   if (lowestBit != nullptr) {
                       lowestBit(out, out, count);
                   }
               });
}

void processValue(LogicalOperationWithValue& algorithm, OptimLevelType level) {
    ImageModel& output = *algorithm.getOutputImage();
    const LogicalRows& rows = logicalRows(level);
    const std::size_t bytes = helper::getElementSize(output);
    const auto op = static_cast<std::size_t>(algorithm.getLogicalOperator());
    const ValueRow combine = byWidth(bytes, rows.value8[op], rows.value16[op], rows.value32[op]);
    const SingleRow lowestBit = lowestBitRowOf(rows, output);
    const auto value8 = static_cast<std::uint8_t>(algorithm.getValue());
    const auto value16 = static_cast<std::uint16_t>(algorithm.getValue());
    const auto value32 = static_cast<std::uint32_t>(algorithm.getValue());
    const void* const value = byWidth<const void*>(bytes, &value8, &value16, &value32);

    const auto functor = [&](const void* in, void* out, std::size_t count) {
        combine(in, value, out, count);
        if (lowestBit != nullptr) {
            lowestBit(out, out, count);
        }
    };
    const GenericPointOperationImageToImageInfo info{*algorithm.getInputImage(), lowestBit != nullptr, output,
                                                     algorithm};
    const GenericPointOperationImageToImageScalarOneTypeBody body(info, functor, level);
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
