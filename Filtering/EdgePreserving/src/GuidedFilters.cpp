// Both guided filters: squares are cubes of one plane.

#include <rix/filtering/smoothing/GuidedFilter2d.h>
#include <rix/filtering/smoothing/GuidedFilter3d.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/access/BlockSize.h>
#include <rix/access/Buffer.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/rules/When.h>

#include "EdgeFilter.h"
#include "GuidedKernels.h"
#include "GuidedTile.h"

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

/// How images are cut: results do not depend on it. What lies around a block is summed for it as well, so that blocks
/// are as large as that at least.
access::Plan cutTiles(const ImageModel& input, std::size_t radius, bool isVolume) {
    access::Plan plan(helper::getExtents(input), access::JoinedAxes::None);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    constexpr double nanoseconds = 10.0;
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanoseconds < access::smallWorkNanoseconds());
    const auto part = [&](std::size_t least, std::size_t radii) {
        const std::size_t scaled = access::scaledToBlocks(std::max(least, radii * radius));
        return access::AxisCut{1, std::max(scaled, 4 * (radius + 1)), 1};
    };
    plan.cut(COLUMNS, isVolume ? part(128, 8) : part(512, 16));
    plan.cut(ROWS, isVolume ? part(32, 8) : part(256, 24));
    plan.cut(PLANS, isVolume ? part(32, 8) : access::AxisCut{1, 1, 1});
    plan.cut(SEQUENCE, {1, 1, 1});
    plan.cut(SPECTRAL_SERIES, {1, 1, 1});
    return plan;
}

/// Reads rows as doubles, from a number of columns before a block on.
class PaddedRows {
public:
    PaddedRows(const ImageModel& image, const access::BorderCondition<double>& border, const access::Block& block,
               std::size_t before)
        : m_converted(&image, RIX_FLOAT64),
          m_source(image.getVoxelType() == RIX_FLOAT64 ? image : m_converted),
          m_border(border),
          m_block(block),
          m_before(before) {}

    void read(std::int64_t row, std::int64_t plane, double* out) const {
        m_border.getData(m_source, out, out + m_block.columns().length() + 2 * m_before,
                         static_cast<std::int64_t>(m_block.columns().begin) - static_cast<std::int64_t>(m_before), row,
                         plane, static_cast<std::int64_t>(m_block.sequence()),
                         static_cast<std::int64_t>(m_block.spectral()));
    }

private:
    ImageModelProxy m_converted;
    const ImageModel& m_source;
    const access::BorderCondition<double>& m_border;
    const access::Block& m_block;
    std::size_t m_before;
};

template <class Filter>
std::size_t radiusOf(const Filter& filter) {
    return static_cast<std::size_t>(filter.getKernelRadius());
}

template <class Filter>
void smooth(Filter& filter, const ImageModel& input, ImageModel& target, OptimLevelType level) {
    const GuidedKernels kernels = guidedKernels(level);
    const Rounding<double> round(target, edgeKernels<double>(level));
    const std::size_t radius = radiusOf(filter);
    const double noise = filter.getContrast() * filter.getContrast();
    const auto border = access::borderOf<double>(filter.getBorderPolicy(), filter.getBorderValue());
    const ImageModel* const guideImage = filter.getInputGuideImage();
    const access::Plan plan = cutTiles(input, radius, ofVolumes<Filter>);
    access::run(filter.executionContext(), plan, [&](const access::Block& block, access::BlockProgress& progress) {
        const auto extents = Tile::extentsOf(block);
        const bool hasGuide = guideImage != nullptr;
        access::Buffer<double> memory;
        memory.reserve(Tile(extents, radius, ofVolumes<Filter>, hasGuide, kernels, nullptr).doubles());
        Tile tile(extents, radius, ofVolumes<Filter>, hasGuide, kernels, memory.data());
        const PaddedRows image(input, *border, block, 2 * radius);
        const PaddedRows guide(hasGuide ? *guideImage : input, *border, block, 2 * radius);
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
    const access::Plan plan = cutTiles(input, radiusOf(filter), ofVolumes<Filter>);
    const std::array<std::size_t, 3> extents{plan.largestPart(COLUMNS), plan.largestPart(ROWS),
                                             plan.largestPart(PLANS)};
    const Tile tile(extents, radiusOf(filter), ofVolumes<Filter>, filter.getInputGuideImage() != nullptr,
                    guidedKernels(SCALAR), nullptr);
    // Beside the tile, rows on their way to the type of the result.
    const std::size_t bytes =
        access::Scratch::held(tile.doubles() * sizeof(double)) + 2 * access::Scratch::held(extents[0] * sizeof(double));
    return bytes * (plan.isSmall() ? 1 : std::min<std::size_t>(filter.getMaximumThreads(), plan.blockCount())) +
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
