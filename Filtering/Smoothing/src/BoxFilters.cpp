// Both box filters: the rectangle is a box of one plane.

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/BoxFilter3d.h>
#include <rix/filtering/smoothing/BoxFilterWorkType.h>
#include <rix/properties/EnumInfo.h>

#include "BoxNeeds.h"
#include "BoxSums.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
constexpr bool hasPlanes = requires(Filter& filter) { filter.kernelSizeZ; };

/// Columns, rows and planes of the window.
template <class Filter>
std::array<std::int32_t, 3> windowOf(const Filter& filter) {
    std::array<std::int32_t, 3> sizes{filter.getKernelSizeX(), filter.getKernelSizeY(), 1};
    if constexpr (hasPlanes<Filter>) {
        sizes[PLANS] = filter.getKernelSizeZ();
    }
    return sizes;
}

/// The sums of a run on an image of a meaning.
template <class Filter>
BoxJob jobFor(const Filter& filter, Interpretations meaning) {
    const auto sizes = windowOf(filter);
    const auto extents = helper::getExtents(*filter.getInputImage());
    BoxJob job;
    job.mean = filter.getAutoScale() == Filter::YES;
    const BoxBorder border = !job.mean && meaning == RIX_BINARY ? BoxBorder::Zero : BoxBorder::Mirror;
    for (std::size_t axis = 0; axis < job.axes.size(); ++axis) {
        job.axes[axis] = BoxAxis(extents[axis], static_cast<std::size_t>(sizes[axis]), border);
        job.voxels *= sizes[axis];
    }
    return job;
}

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    if (filter.getAutoScale() == Filter::YES) {
        return input.getVoxelType();
    }
    // The table of types ends below 2^64 voxels a window.
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    const WideInteger voxels = jobFor(filter, input.getInterpretation()).voxels;
    return computeWorkType(input.getVoxelType(),
                           voxels > static_cast<WideInteger>(largest) ? largest : static_cast<std::uint64_t>(voxels));
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image whose voxels are summed.", AddRulesForRealImage());
    properties.input(filter.kernelSizeX, "Columns of the window, in voxels.", AddRuleAssertPositiveOnly());
    properties.input(filter.kernelSizeY, "Rows of the window, in voxels.", AddRuleAssertPositiveOnly());
    if constexpr (hasPlanes<Filter>) {
        properties.input(filter.kernelSizeZ, "Planes of the window, in voxels.", AddRuleAssertPositiveOnly());
    }
    properties.input(filter.autoScale, "YES: the mean of the window, in the input's type. NO: the sum.");
    properties.output(
        filter.outputImage, "The sums, in a type that holds them where there is one, or the means in the input's.",
        AddRuleAssertNotNull(),
        AddRuleEnforceLike(filter.inputImage,
                           {.interpretation = RIX_VALUE, .chosenType = [&filter] { return outputType(filter); }}));
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    const BoxJob job = jobFor(filter, algorithms::stateOf<algorithms::InputMeaning>(filter).meaning);
    access::ExecutionContext& context = filter.executionContext();
    ImageModel& output = *filter.getOutputImage();
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        access::writeApart(context, input, output,
                           [&](ImageModel& target) { sumBoxes(context, input, target, job, level); });
    });
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    const auto sizes = windowOf(filter);
    return access::reachOfWindow(static_cast<std::size_t>(sizes[COLUMNS]), static_cast<std::size_t>(sizes[ROWS]),
                                 static_cast<std::size_t>(sizes[PLANS]));
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    return boxWorkingBytes(input, jobFor(filter, input.getInterpretation()), filter.getMaximumThreads()) +
           access::writeApartMemory(input, filter.getOutputImage(), outputType(filter));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto rectangle = definitionOf<BoxFilter2d>("Sum or mean of the voxels in a rectangle around each voxel.");
constexpr auto box = definitionOf<BoxFilter3d>("Sum or mean of the voxels in a box around each voxel.");

const EnumInfo& infoAutoScaleType() {
    static const EnumInfo info("AutoScaleType", "NO = 0, YES");
    return info;
}

}  // namespace

const EnumInfo& BoxFilter2d::getInfoAutoScaleType() {
    return infoAutoScaleType();
}

const EnumInfo& BoxFilter3d::getInfoAutoScaleType() {
    return infoAutoScaleType();
}

RIX_DEFINE_ALGORITHM_WITH(BoxFilter2d, algorithms::InputMeaning, rectangle)
RIX_DEFINE_ALGORITHM_WITH(BoxFilter3d, algorithms::InputMeaning, box)

}  // namespace rix::filtering::smoothing
