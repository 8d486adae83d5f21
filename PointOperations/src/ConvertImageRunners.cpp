#include <rix/access/LevelCasts.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

#include "ConvertImagePrivate.h"
#include "GenericPointOperation.h"
#include "PointRunners.h"

namespace rix::point_operations {

namespace {

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
    const GenericPointOperationImageToImageInfo info{*algorithm.getInputImage(),
                                                     ConvertImagePrivate::of(algorithm).isBinary,
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

}  // namespace

void addConvertImageRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<ConvertImage, &process, &algorithms::acceptsAll<ConvertImage>>(info);
}

}  // namespace rix::point_operations
