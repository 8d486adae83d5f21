// Both equalisations with a limit: that of planes has no third extent.

#include <vector>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/manipulation/ContrastLimitedEqualization2d.h>
#include <rix/manipulation/ContrastLimitedEqualization3d.h>

#include "NumberImage.h"
#include "PointFunction.h"
#include "TileEqualization.h"

namespace rix::manipulation {

namespace {

constexpr std::int32_t smallestTile = 8;

template <class Filter>
constexpr bool hasPlanes = requires(Filter& filter) { filter.kernelSizeZ; };

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    const AddRuleLimitedValue<std::int32_t> largeEnough(smallestTile, CHECK_GREATER_OR_EQUAL);
    properties.input(filter.inputImage, "The image whose contrast is raised.", AddRulesForRealImage());
    filter.kernelSizeX = 64;
    properties.input(filter.kernelSizeX, "Columns of a tile, in voxels.", largeEnough);
    filter.kernelSizeY = 64;
    properties.input(filter.kernelSizeY, "Rows of a tile, in voxels.", largeEnough);
    if constexpr (hasPlanes<Filter>) {
        filter.kernelSizeZ = 64;
        properties.input(filter.kernelSizeZ, "Planes of a tile, in voxels.", AddRuleAssertPositiveOnly());
    }
    filter.clipLimit = 0.01;
    properties.input(filter.clipLimit, "The largest share of a tile that a class of values keeps; 1 cuts nothing.",
                     AddRuleAssertPositiveOnly(), AddRuleLimitedValue<double>(1.0, CHECK_LOWER_OR_EQUAL));
    properties.output(filter.outputImage, "The image with more contrast.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(filter.inputImage),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE}));
}

template <class Filter>
TileEqualization equalizationOf(const Filter& filter) {
    std::array<std::size_t, 3> sizes{static_cast<std::size_t>(filter.getKernelSizeX()),
                                     static_cast<std::size_t>(filter.getKernelSizeY()), 1};
    if constexpr (hasPlanes<Filter>) {
        sizes[2] = static_cast<std::size_t>(filter.getKernelSizeZ());
    }
    return {sizes, filter.getClipLimit()};
}

/// A plane or a volume after the other.
template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    ImageModel& output = *filter.getOutputImage();
    const NumberImage numbers(filter, *filter.getInputImage(), algorithms::wasBinary(filter), level);
    const auto all = helper::getExtents(output);
    std::vector<std::size_t> extents(all.begin(), all.end());
    extents[SEQUENCE] = extents[SPECTRAL_SERIES] = 1;
    const std::size_t planes = hasPlanes<Filter> ? 1 : all[PLANS];
    extents[PLANS] = hasPlanes<Filter> ? all[PLANS] : 1;
    const std::size_t count = planes * all[SEQUENCE] * all[SPECTRAL_SERIES];
    const TileEqualization equalization = equalizationOf(filter);
    const bool hasRange = helper::getSizeOf(numbers.image().getVoxelType()) == 1;
    const access::Steps steps(filter.executionContext(), hasRange ? count : 2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::vector<std::size_t> origin{0, 0, i % planes, i / planes % all[SEQUENCE], i / planes / all[SEQUENCE]};
        const ImageModelSizeProxy from(&numbers.image(), origin, extents);
        ImageModelSizeProxy to(&output, origin, extents);
        equalization.run(filter, level, from, to);
    }
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const auto n = helper::getExtents(input);
    return NumberImage::memory(input, isBinary(&input)) +
           equalizationOf(filter).memory({n[COLUMNS], n[ROWS], hasPlanes<Filter> ? n[PLANS] : 1},
                                         filter.getMaximumThreads());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Composite,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes =
    definitionOf<ContrastLimitedEqualization2d>("Raises the contrast of planes locally, with a limit.");
constexpr auto ofVolumes =
    definitionOf<ContrastLimitedEqualization3d>("Raises the contrast of volumes locally, with a limit.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(ContrastLimitedEqualization2d, algorithms::InputMeaning, ofPlanes)
RIX_DEFINE_ALGORITHM_WITH(ContrastLimitedEqualization3d, algorithms::InputMeaning, ofVolumes)

}  // namespace rix::manipulation
