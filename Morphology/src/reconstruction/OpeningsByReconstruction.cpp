// An erosion or a dilation, whose result is the marker of a reconstruction.

#include <rix/morphology/ClosingByReconstruction2d.h>
#include <rix/morphology/ClosingByReconstruction3d.h>
#include <rix/morphology/OpeningByReconstruction2d.h>
#include <rix/morphology/OpeningByReconstruction3d.h>

#include "IsOneOf.h"
#include "elements/ElementMinimum.h"
#include "elements/ElementProperties.h"
#include "reconstruction/FloodRun.h"
#include "reconstruction/MarkerCut.h"

namespace rix::morphology {

namespace {

/// What makes the marker; the reconstruction goes the other way.
template <class Filter>
constexpr Extremum markerOf =
    isOneOf<Filter, OpeningByReconstruction2d, OpeningByReconstruction3d> ? Extremum::Minimum : Extremum::Maximum;
template <class Filter>
constexpr Extremum extremumOf = markerOf<Filter> == Extremum::Minimum ? Extremum::Maximum : Extremum::Minimum;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image.", AddRulesForRealImage());
    declareElement(filter, properties);
    addRadiusRule(filter, spacingOf(filter));
    takeAllNeighbours(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    properties.output(filter.outputImage, "The result.", AddRuleAssertNotNull(), AddRuleEnforceLike(filter.inputImage));
}

/// Around each voxel; of a dilation the reflected one.
template <class Filter>
Element around(const Element& element) {
    return markerOf<Filter> == Extremum::Minimum ? element : element.reflected();
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const Element element = around<Filter>(elementOfRun(filter, spacingOf(filter)));
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const access::Steps steps(context, {0.4, 0.6});
        access::TemporaryMemory marker(input);
        takeExtrema(context, input, marker.image(), {markerOf<Filter>, element}, Difference::None, nullptr, level);
        marker.image().setInterpretation(RIX_VALUE);  // what is 0 and 1 already is read without a copy
        access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
            using T = typename decltype(tag)::type;
            const auto start = [&](const FloodImages<T>& images) {
                startFromMarker(context, reinterpret_cast<const T*>(marker.image().getInternalBuffer()), images,
                                extremumOf<Filter>);
            };
            reconstruct<T>(context, input, *filter.getOutputImage(), extremumOf<Filter>,
                           floodSpaceOf(filter.getNeighborhood()), level, start);
        });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const ImageModel* const output = filter.getOutputImage();
    const std::size_t threads = filter.getMaximumThreads();
    const FloodSpace space = floodSpaceOf(filter.getNeighborhood());
    return access::TemporaryMemory::bytes(input, input.getVoxelType()) +
           std::max(
               extremaBytes(input, elementOf(filter, spacingOf(filter)), ElementBorderPolicy::NEUTRAL, false, threads),
               reconstructionBytes(input, output, space, threads) +
                   wholeOutputBytes(input, output, input.getVoxelType()));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &rememberElement<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto opensPlanes = definitionOf<OpeningByReconstruction2d>(
    "Takes out what is bright and does not hold a structuring element in each plane, and leaves the rest as it is.");
constexpr auto opensVolumes = definitionOf<OpeningByReconstruction3d>(
    "Takes out what is bright and does not hold a structuring element in each volume, and leaves the rest as it is.");
constexpr auto closesPlanes = definitionOf<ClosingByReconstruction2d>(
    "Fills what is dark and does not hold a structuring element in each plane, and leaves the rest as it is.");
constexpr auto closesVolumes = definitionOf<ClosingByReconstruction3d>(
    "Fills what is dark and does not hold a structuring element in each volume, and leaves the rest as it is.");

}  // namespace

RIX_DEFINE_ALGORITHM_ON(ElementOwner2d, OpeningByReconstruction2d, ElementState, opensPlanes)
RIX_DEFINE_ALGORITHM_ON(ElementOwner3d, OpeningByReconstruction3d, ElementState, opensVolumes)
RIX_DEFINE_ALGORITHM_ON(ElementOwner2d, ClosingByReconstruction2d, ElementState, closesPlanes)
RIX_DEFINE_ALGORITHM_ON(ElementOwner3d, ClosingByReconstruction3d, ElementState, closesVolumes)

}  // namespace rix::morphology
