#include "BoxFilterRunners.h"

#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/BoxFilter3d.h>

#include "BoxFilterState.h"
#include "BoxSums.h"

namespace rix::filtering::smoothing {

namespace {

template <class Algorithm>
void process(Algorithm& algorithm, OptimLevelType level) {
    const BoxFilterState& state = BoxFilterState::of(algorithm);
    const BoxJob job = state.job();
    access::ExecutionContext& context = algorithm.executionContext();
    const ImageModel& input = *algorithm.getInputImage();
    ImageModel& output = *algorithm.getOutputImage();
    if (state.isInPlace()) {
        access::writeThroughTemporary(context, output,
                                      [&](ImageModel& target) { sumBoxes(context, input, target, job, level); });
    } else {
        sumBoxes(context, input, output, job, level);
    }
}

}  // namespace

void addBoxFilter2dRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<BoxFilter2d, &process<BoxFilter2d>, &algorithms::acceptsAll<BoxFilter2d>>(info);
}

void addBoxFilter3dRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<BoxFilter3d, &process<BoxFilter3d>, &algorithms::acceptsAll<BoxFilter3d>>(info);
}

}  // namespace rix::filtering::smoothing
