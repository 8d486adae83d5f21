#include "BoxFilterRunners.h"

#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/exceptions/Exception.h>
#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/BoxFilter3d.h>
#include <rix/image/MemoryImage.h>

#include "BoxFilterState.h"
#include "BoxSums.h"

namespace rix::filtering::smoothing {

namespace {

/// Rough cost of a copy, for deciding whether threads pay.
constexpr double nanosecondsPerCopy = 0.1;

/// Filters into a temporary image, which then replaces the samples of the input. Until then the input is untouched.
void sumInPlace(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const BoxJob& job,
                OptimLevelType level) {
    const auto n = helper::getExtents(output);
    io::MemoryImage temporary;
    if (!temporary.reserve(output.getVoxelType(), n[0], n[1], n[2], n[3], n[4])) {
        throw ResizeImageError("The temporary image cannot be allocated or resized.");
    }
    const access::Steps steps(context, {0.9, 0.1});
    sumBoxes(context, input, temporary, job, level);
    access::dispatch(access::Reals{}, output.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        access::transformRows<T, T>(context, temporary, output, nanosecondsPerCopy,
                                    [](const T* in, T* out, std::size_t count) { access::castRow(in, out, count); });
    });
}

template <class Algorithm>
void process(Algorithm& algorithm, OptimLevelType level) {
    const BoxFilterState& state = BoxFilterState::of(algorithm);
    const BoxJob job = state.job();
    access::ExecutionContext& context = algorithm.executionContext();
    const ImageModel& input = *algorithm.getInputImage();
    ImageModel& output = *algorithm.getOutputImage();
    if (state.isInPlace()) {
        sumInPlace(context, input, output, job, level);
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
