#include "GaussianFilterRunners.h"

#include <rix/algorithms/LevelRunner.h>
#include <rix/filtering/smoothing/GaussianFilter2d.h>
#include <rix/filtering/smoothing/GaussianFilter3d.h>

#include "GaussianFilterState.h"
#include "GaussianSums.h"

namespace rix::filtering::smoothing {

namespace {

template <class Algorithm>
void process(Algorithm& algorithm, OptimLevelType level) {
    const GaussianFilterState& state = GaussianFilterState::of(algorithm);
    smoothGaussian(algorithm.executionContext(), *algorithm.getInputImage(), *algorithm.getOutputImage(), state.job(),
                   state.isInPlace(), level);
}

}  // namespace

void addGaussianFilter2dRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<GaussianFilter2d, &process<GaussianFilter2d>,
                                &algorithms::acceptsAll<GaussianFilter2d>>(info);
}

void addGaussianFilter3dRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<GaussianFilter3d, &process<GaussianFilter3d>,
                                &algorithms::acceptsAll<GaussianFilter3d>>(info);
}

}  // namespace rix::filtering::smoothing
