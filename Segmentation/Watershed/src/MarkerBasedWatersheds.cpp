// The flood from given markers, in planes and in volumes.

#include <rix/algorithms/Definition.h>
#include <rix/properties/EnumInfo.h>
#include <rix/segmentation/MarkerBasedWatershed2d.h>
#include <rix/segmentation/MarkerBasedWatershed3d.h>

#include "MarkerProperties.h"
#include "WatershedFlood.h"

namespace rix::segmentation {

namespace {

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputGrayImage, "What is flooded.", AddRulesForRealImage());
    properties.input(filter.inputMarkerImage, "Where floods begin: the labels, and 0 elsewhere.",
                     AddRulesForIntegerImage(), AddRuleAssertSameSize(filter.inputGrayImage));
    declareFloodMask(filter, properties, "Optional: no flood comes where it is 0.");
    takeAllNeighbors(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    properties.input(filter.watershedLines, "Whether lines lie between basins.");
    declareMarkerLabels(filter, properties, "The labels of the markers whose floods came.");
}

template <class Filter>
void process(Filter& filter, OptimLevelType /*level*/) {
    floodFromMarkers(filter.executionContext(),
                     {*filter.getInputGrayImage(), filter.getInputMaskImage(), *filter.getInputMarkerImage(),
                      *filter.getOutputLabelImage(), neighborsOf(filter.getNeighborhood()),
                      filter.getWatershedLines() == Filter::LINES});
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    return floodFromMarkersBytes(*filter.getInputGrayImage(), filter.getInputMaskImage(), filter.getInputMarkerImage(),
                                 neighborsOf(filter.getNeighborhood()), filter.getMaximumThreads());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes =
    definitionOf<MarkerBasedWatershed2d>("Floods each plane of a grey image from labelled markers.");
constexpr auto inVolumes =
    definitionOf<MarkerBasedWatershed3d>("Floods each volume of a grey image from labelled markers.");

}  // namespace

const EnumInfo& getInfoWatershedLinesType() {
    static const EnumInfo info("WatershedLinesType", "NONE = 0, LINES");
    return info;
}

RIX_DEFINE_ALGORITHM(MarkerBasedWatershed2d, inPlanes)
RIX_DEFINE_ALGORITHM(MarkerBasedWatershed3d, inVolumes)

}  // namespace rix::segmentation
