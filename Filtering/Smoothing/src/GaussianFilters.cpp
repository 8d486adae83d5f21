// Both Gaussian filters: that of planes has no third deviation.

#include <cstddef>

#include <rix/algorithms/Definition.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/filtering/smoothing/GaussianFilter2d.h>
#include <rix/filtering/smoothing/GaussianFilter3d.h>

#include "GaussianJob.h"
#include "GaussianRows.h"
#include "GaussianSums.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
algorithms::RuleLength::Measure along(const Filter& filter, Components axis) {
    return {filter.inputImage, filter.lengthUnit, axis};
}

template <class Filter>
constexpr bool hasPlanes = requires(Filter& filter) { filter.standardDeviationZ; };

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    return algorithms::voxelTypeOf(filter.getOutputType(), filter.getInputImage()->getVoxelType());
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    const auto deviation = [&](Property<double>& property, Components axis, const char* description) {
        property = 1.0;
        properties.input(property, description, algorithms::AddRuleLength(along(filter, axis), largestDeviation));
    };
    properties.input(filter.inputImage, "The image that is smoothed.", AddRulesForRealImage());
    deviation(filter.standardDeviationX, COLUMNS, "Width of the Gaussian across columns; 0: not smoothed.");
    deviation(filter.standardDeviationY, ROWS, "Width of the Gaussian across rows; 0: not smoothed.");
    if constexpr (hasPlanes<Filter>) {
        deviation(filter.standardDeviationZ, PLANS, "Width of the Gaussian across planes; 0: not smoothed.");
    }
    properties.input(filter.lengthUnit, "Whether the standard deviations are in voxels or in the image's unit.");
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.input(filter.outputType, "The type of the result.");
    properties.output(filter.outputImage, "The smoothed image.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE,
                                                             .chosenType = [&filter] { return outputType(filter); }}));
}

template <class Filter>
GaussianJob jobOf(const Filter& filter) {
    GaussianJob job{{along(filter, COLUMNS).voxels(filter.standardDeviationX),
                     along(filter, ROWS).voxels(filter.standardDeviationY)},
                    filter.getBorderPolicy(),
                    filter.getBorderValue()};
    if constexpr (hasPlanes<Filter>) {
        job.deviations[PLANS] = along(filter, PLANS).voxels(filter.standardDeviationZ);
    }
    return job;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        smoothGaussian(filter.executionContext(), input, *filter.getOutputImage(), jobOf(filter),
                       access::isOverwritten(input, filter.getOutputImage()), level);
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    return gaussianWorkingBytes(*filter.getInputImage(), outputType(filter), jobOf(filter),
                                access::isOverwritten(*filter.getInputImage(), filter.getOutputImage()),
                                filter.getMaximumThreads());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence =
            [](const Filter& filter) {
                return gaussianInfluence(*filter.getInputImage(), outputType(filter), jobOf(filter));
            },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes = definitionOf<GaussianFilter2d>("Smooths each plane with a Gaussian.");
constexpr auto ofVolumes = definitionOf<GaussianFilter3d>("Smooths each volume with a Gaussian.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(GaussianFilter2d, algorithms::InputMeaning, ofPlanes)
RIX_DEFINE_ALGORITHM_WITH(GaussianFilter3d, algorithms::InputMeaning, ofVolumes)

}  // namespace rix::filtering::smoothing
