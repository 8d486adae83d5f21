#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/morphology/ReconstructionByDilation2d.h>
#include <rix/morphology/ReconstructionByDilation3d.h>
#include <rix/morphology/ReconstructionByErosion2d.h>
#include <rix/morphology/ReconstructionByErosion3d.h>

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
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& mask = *filter.getInputImage();
    ImageModel& output = *filter.getOutputImage();
    access::dispatch(access::Reals{}, mask.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto start = [&](const FloodImages<T>& images) {
            // Beside a binary mask any marker counts as 0 and 1, as the result has to.
            const Interpretations meaning = mask.getInterpretation() == RIX_BINARY
                                                ? RIX_BINARY
                                                : algorithms::stateOf<MarkerMeaning>(filter).meaning;
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
    const std::size_t tiles =
        floodBytes(helper::getExtents(mask), type, floodSpaceOf(filter.getNeighborhood()), threads);
    const std::size_t markerCopy = mask.getInterpretation() == RIX_BINARY
                                       ? access::Scratch::held(access::TemporaryImage::bytes(marker, type))
                                       : wholeInputBytes(marker, output);
    const std::size_t rows = std::max(convertedRowBytes(mask, threads), convertedRowBytes(marker, threads));
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
