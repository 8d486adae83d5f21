// Both guided filters: squares are cubes of one plane.

#include <rix/filtering/smoothing/GuidedFilter2d.h>
#include <rix/filtering/smoothing/GuidedFilter3d.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/access/Buffer.h>
#include <rix/rules/When.h>

#include "EdgeFilter.h"
#include "GuidedKernels.h"
#include "GuidedTile.h"
#include "Tiles.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, GuidedFilter3d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is smoothed.", AddRulesForRealImage());
    properties.input(filter.inputGuideImage, "Optional: whose edges are kept.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                     AddRuleWhenSet(AddRuleAssertSameSize(filter.inputImage)));
    declareRadius(properties, filter.kernelRadius, 2, ofVolumes<Filter> ? 20 : 64, "Radius of the squares or cubes.");
    declarePositive(properties, filter.contrast, 10.0, "The difference in the guide that counts as an edge.");
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.input(filter.outputType, "The type of the result.");
    properties.output(filter.outputImage, "The smoothed image.", AddRuleAssertNotNull(),
                      AddRuleWhenSet(filter.inputGuideImage, AddRuleDisjointFrom(filter.inputGuideImage)),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE,
                                                             .chosenType = [&filter] { return chosenType(filter); }}));
}

access::Plan cutForRadius(const ImageModel& input, std::size_t radius, bool isVolume) {
    const auto part = [&](std::size_t least, std::size_t radii) {
        const std::size_t scaled = access::scaledToBlocks(std::max(least, radii * radius));
        return std::max(scaled, 4 * (radius + 1));
    };
    return isVolume ? cutTiles(input, {part(128, 8), part(32, 8), part(32, 8)}, 10.0)
                    : cutTiles(input, {part(1024, 16), part(128, 24), 1}, 10.0);
}

template <class Filter>
std::size_t radiusOf(const Filter& filter) {
    return static_cast<std::size_t>(filter.getKernelRadius());
}

template <class Filter>
void smooth(Filter& filter, const ImageModel& input, ImageModel& target, OptimLevelType level) {
    const GuidedKernels kernels = guidedKernels(level);
    const SumKernels<double> sums = sumKernels<double>(level);
    const Rounding<double> round(target, edgeKernels<double>(level));
    const std::size_t radius = radiusOf(filter);
    const double noise = filter.getContrast() * filter.getContrast();
    const auto border = access::borderOf<double>(filter.getBorderPolicy(), filter.getBorderValue());
    const ImageModel* const guideImage = filter.getInputGuideImage();
    const access::Plan plan = cutForRadius(input, radius, ofVolumes<Filter>);
    access::run(filter.executionContext(), plan, [&](const access::Block& block, access::BlockProgress& progress) {
        const auto extents = extentsOf(block);
        const bool hasGuide = guideImage != nullptr;
        access::Buffer<double> memory;
        memory.reserve(Tile(extents, radius, ofVolumes<Filter>, hasGuide, kernels, sums, nullptr).doubles());
        Tile tile(extents, radius, ofVolumes<Filter>, hasGuide, kernels, sums, memory.data());
        const PaddedRows<double> image(input, *border, block, 2 * radius);
        const PaddedRows<double> guide(hasGuide ? *guideImage : input, *border, block, 2 * radius);
        access::RowWriter<double> writer(target, plan);
        tile.filter(
            block, noise,
            [&](double* guideRow, double* imageRow, std::int64_t row, std::int64_t plane) {
                progress.tell();
                guide.read(row, plane, guideRow);
                if (hasGuide) {
                    image.read(row, plane, imageRow);
                }
            },
            [&](std::int64_t row, std::int64_t plane, const double* a, const double* b, const double* guideRow) {
                double* const out =
                    writer.open({block.columns().begin, static_cast<std::size_t>(row), static_cast<std::size_t>(plane),
                                 block.sequence(), block.spectral(), extents[0]});
                kernels.apply(a, b, guideRow, out, extents[0], tile.share());
                round(out, extents[0]);
                writer.flush();
                progress.add(extents[0]);
            });
    });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    runApart(filter, [&](const ImageModel& input, ImageModel& target) { smooth(filter, input, target, level); });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const access::Plan plan = cutForRadius(input, radiusOf(filter), ofVolumes<Filter>);
    const std::array<std::size_t, 3> extents = largestExtents(plan);
    const Tile tile(extents, radiusOf(filter), ofVolumes<Filter>, filter.getInputGuideImage() != nullptr,
                    guidedKernels(SCALAR), sumKernels<double>(SCALAR), nullptr);
    return tileMemory<double>(plan, tile.doubles(), extents[0], filter.getMaximumThreads()) +
           access::writeApartMemory(input, filter.getOutputImage(), chosenType(filter));
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    const auto reach = static_cast<std::size_t>(2 * filter.getKernelRadius());
    const access::Reach::Axis axis{reach, reach};
    return {axis, axis, ofVolumes<Filter> ? axis : access::Reach::Axis{}};
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

constexpr auto inPlanes = definitionOf<GuidedFilter2d>("Smooths planes and keeps the edges of a guide.");
constexpr auto inVolumes = definitionOf<GuidedFilter3d>("Smooths volumes and keeps the edges of a guide.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(GuidedFilter2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(GuidedFilter3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::filtering::smoothing
