#include <rix/algorithms/LevelRunner.h>
#include <rix/point_operations/MaskImage.h>

#include "ImagePairToImageFilter3d.h"
#include "MaskKernels.h"
#include "PointRunners.h"

namespace rix::point_operations {

namespace {

void process(MaskImage& algorithm, OptimLevelType level) {
    const ImageModel& image = *algorithm.getInputImage();
    const ImageModel& mask = *algorithm.getInputBinaryImage();
    const std::size_t sampleBytes = helper::getElementSize(image);
    const std::size_t maskBytes = helper::getElementSize(mask);
    const bool binary = image.getInterpretation() == RIX_BINARY;
    const access::Stores stores = access::storesFor(*algorithm.getOutputImage());
    const PairRow row = maskRow(sampleBytes, maskBytes, stores, level);
    const ImagePairToImageFilter3d filter({image, image.getVoxelType(), binary}, {mask, mask.getVoxelType()},
                                          *algorithm.getOutputImage(), level);
    filter.run(algorithm.executionContext(), nanosecondsPerByte * static_cast<double>(2 * sampleBytes + maskBytes),
               stores, row);
}

}  // namespace

void addMaskImageRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<MaskImage, &process, &algorithms::acceptsAll<MaskImage>>(info);
}

}  // namespace rix::point_operations
