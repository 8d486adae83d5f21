// Both convolutions: that of planes has no third axis.

#include <cstddef>
#include <type_traits>

#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/filtering/frequency/FourierConvolution2d.h>
#include <rix/filtering/frequency/FourierConvolution3d.h>

#include "TileConvolution.h"

namespace rix::filtering::frequency {

namespace {

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, FourierConvolution3d>;

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    return filter.getInputImage()->getVoxelType() == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    constexpr ImageDimension dimension = ofVolumes<Filter> ? ImageDimension::Any : ImageDimension::Only2d;
    properties.input(filter.inputImage, "The image that is convolved.", AddRulesForRealImage());
    properties.input(filter.inputKernelImage, "The weights; the origin is the element at half of each extent.",
                     AddRulesForRealImage(), AddRuleAssertDimension(dimension, AxisUse::Refused, AxisUse::Refused));
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.output(filter.outputImage, "The convolved image.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(filter.inputKernelImage),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE,
                                                             .chosenType = [&filter] { return outputType(filter); }}));
}

template <class Filter>
ConvolutionTiles tilesFor(const Filter& filter) {
    return tilesOf(*filter.getInputImage(), *filter.getInputKernelImage(), ofVolumes<Filter>);
}

template <class Filter>
void process(Filter& filter, OptimLevelType /*level*/) {
    const ConvolutionJob job{tilesFor(filter), filter.getBorderPolicy(), filter.getBorderValue()};
    ImageModel& output = *filter.getOutputImage();
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        access::writeApart(filter.executionContext(), input, output, [&](ImageModel& target) {
            convolveTiles(filter.executionContext(), input, *filter.getInputKernelImage(), target, job);
        });
    });
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    return tilesFor(filter).reach();
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    return convolutionBytes(input, tilesFor(filter), filter.getMaximumThreads()) +
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

constexpr auto inPlanes = definitionOf<FourierConvolution2d>("Convolves each plane through the Fourier transform.");
constexpr auto inVolumes = definitionOf<FourierConvolution3d>("Convolves each volume through the Fourier transform.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(FourierConvolution2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(FourierConvolution3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::filtering::frequency
