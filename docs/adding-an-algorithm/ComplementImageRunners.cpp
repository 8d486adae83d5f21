#include "ComplementImageRunners.h"

#include <rix/access/PointFilters.h>
#include <rix/algorithms/LevelRunner.h>

#include "ComplementImage.h"
#include "ComplementKernels.h"

namespace rix::point_operations {

namespace {

/// Rough cost of the scalar kernels, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.1;

void process(ComplementImage& algorithm, OptimLevelType level) {
    const ImageModel& input = *algorithm.getInputImage();
    access::dispatch(access::UnsignedIntegers{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        access::transformRows<T, T>(algorithm.executionContext(), input, *algorithm.getOutputImage(),
                                    nanosecondsPerVoxel, complementRow<T>(level));
    });
}

}  // namespace

void addComplementImageRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<ComplementImage, &process, &algorithms::acceptsAll<ComplementImage>>(info);
}

}  // namespace rix::point_operations
