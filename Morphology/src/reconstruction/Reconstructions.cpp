#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/morphology/ReconstructionByDilation2d.h>
#include <rix/morphology/ReconstructionByDilation3d.h>
#include <rix/morphology/ReconstructionByErosion2d.h>
#include <rix/morphology/ReconstructionByErosion3d.h>
#include <rix/segmentation/MarkedSets.h>

#include "IsOneOf.h"
#include "reconstruction/FloodRun.h"
#include "reconstruction/MarkerCut.h"

namespace rix::morphology {

namespace {

template <class Filter>
constexpr bool isByDilation = isOneOf<Filter, ReconstructionByDilation2d, ReconstructionByDilation3d>;
template <class Filter>
constexpr Extremum extremumOf = isByDilation<Filter> ? Extremum::Maximum : Extremum::Minimum;

/// What a run remembers from before its output is shaped, which may be the marker.
struct MarkerMeaning : algorithms::AbstractPrivateImplementation {
    Interpretations meaning = RIX_VALUE;
};

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputMarkerImage, "Where the reconstruction starts.", AddRulesForRealImage());
    properties.input(filter.inputImage, "The mask, which bounds it.", AddRulesForRealImage(),
                     AddRuleAssertSameSize(filter.inputMarkerImage), AddRuleAssertSameType(filter.inputMarkerImage));
    takeAllNeighbours(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    properties.output(filter.outputImage, "The reconstruction.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputImage));
}

template <class Filter>
void rememberMarker(Filter& filter) {
    const ImageModel* const marker = filter.getInputMarkerImage();
    algorithms::stateOf<MarkerMeaning>(filter).meaning = marker != nullptr ? marker->getInterpretation() : RIX_VALUE;
}

template <class Filter>
segmentation::MarkedSetsTask setsOf(const Filter& filter, const ImageModel& mask, const ImageModel* marker) {
    const FloodSpace space = floodSpaceOf(filter.getNeighborhood());
    return {mask, !isByDilation<Filter>, marker, true, space.axes, space.farthest};
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& mask = *filter.getInputImage();
    ImageModel& output = *filter.getOutputImage();
    if (mask.getInterpretation() == RIX_BINARY) {
        // Any marker counts as 0 and 1 then, as the result has to.
        access::readAsItWas(*filter.getInputMarkerImage(), RIX_BINARY, [&](const ImageModel& marker) {
            segmentation::takeMarkedSets(context, setsOf(filter, mask, &marker), output, level);
        });
        return;
    }
    access::dispatch(access::Reals{}, mask.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto start = [&](const FloodImages<T>& images) {
            const Interpretations meaning = algorithms::stateOf<MarkerMeaning>(filter).meaning;
            const access::Steps steps(context, 2);
            access::readAsItWas(*filter.getInputMarkerImage(), meaning, [&](const ImageModel& marker) {
                const access::WholeInput<T> whole(context, marker, sharingBeside(marker, output));
                startFromMarker(context, whole.data(), images, extremumOf<Filter>);
            });
        };
        reconstruct<T>(context, mask, output, extremumOf<Filter>, floodSpaceOf(filter.getNeighborhood()), level, start);
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& mask = *filter.getInputImage();
    const ImageModel& marker = *filter.getInputMarkerImage();
    const ImageModel* const output = filter.getOutputImage();
    const std::size_t threads = filter.getMaximumThreads();
    const VoxelTypes type = mask.getVoxelType();
    if (mask.getInterpretation() == RIX_BINARY) {
        return segmentation::markedSetsMemory(setsOf(filter, mask, &marker), threads);
    }
    const std::size_t tiles =
        floodBytes(helper::getExtents(mask), type, floodSpaceOf(filter.getNeighborhood()), threads);
    const std::size_t markerCopy = wholeInputBytes(marker, output);
    const std::size_t rows = convertedRowBytes(marker, threads);
    return wholeInputBytes(mask, output) + wholeOutputBytes(mask, output, type) + std::max(tiles, markerCopy + rows);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &rememberMarker<Filter>,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,  // of binary images it depends on the number of runs
    };
}

constexpr auto byDilation2d =
    definitionOf<ReconstructionByDilation2d>("Grows the markers in each plane as far as the mask lets them.");
constexpr auto byDilation3d =
    definitionOf<ReconstructionByDilation3d>("Grows the markers in each volume as far as the mask lets them.");
constexpr auto byErosion2d =
    definitionOf<ReconstructionByErosion2d>("Lowers the markers in each plane as far as the mask lets them.");
constexpr auto byErosion3d =
    definitionOf<ReconstructionByErosion3d>("Lowers the markers in each volume as far as the mask lets them.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(ReconstructionByDilation2d, MarkerMeaning, byDilation2d)
RIX_DEFINE_ALGORITHM_WITH(ReconstructionByDilation3d, MarkerMeaning, byDilation3d)
RIX_DEFINE_ALGORITHM_WITH(ReconstructionByErosion2d, MarkerMeaning, byErosion2d)
RIX_DEFINE_ALGORITHM_WITH(ReconstructionByErosion3d, MarkerMeaning, byErosion3d)

}  // namespace rix::morphology
