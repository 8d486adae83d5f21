// Skeletons as graphs: without their short branches, and as tables.

#include <cmath>

#include <rix/access/Steps.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/morphology/PruneSkeleton2d.h>
#include <rix/morphology/PruneSkeleton3d.h>
#include <rix/morphology/SkeletonGraph2d.h>
#include <rix/morphology/SkeletonGraph3d.h>

#include "IsOneOf.h"
#include "distance/SpacingRule.h"
#include "skeleton/SkeletonPaths.h"
#include "skeleton/Thinning.h"

namespace rix::morphology {

namespace {

template <class Filter>
constexpr std::size_t axesOf = isOneOf<Filter, PruneSkeleton3d, SkeletonGraph3d> ? 3 : 2;
template <class Filter>
constexpr bool isPruner = isOneOf<Filter, PruneSkeleton2d, PruneSkeleton3d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputObjectImage, "The skeleton: what is not 0.", AddRulesForRealImage());
    if constexpr (isPruner<Filter>) {
        filter.setMinimumLength(10.0);
        properties.input(filter.minimumLength, "The least length of branches with a free end that stay.",
                         AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    }
    properties.input(filter.lengthUnit, "Whether lengths are in voxels or in the image's unit.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleSpacings>(
        filter.inputObjectImage, axesOf<Filter>, [&filter] { return filter.getLengthUnit() == Filter::WORLD; },
        [] { return false; }));
    if constexpr (isPruner<Filter>) {
        properties.output(
            filter.outputBinaryImage, "The skeleton without short branches.", AddRuleAssertNotNull(),
            AddRuleEnforceLike(filter.inputObjectImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
    } else {
        properties.output(filter.outputMeasurement, "A row for each branch.", AddRuleCreateMeasurement());
    }
}

template <class Filter>
std::array<double, 3> spacingOf(const Filter& filter) {
    std::array<double, 3> spacing{1, 1, 1};
    for (std::size_t axis = 0; axis < axesOf<Filter> && filter.getLengthUnit() == Filter::WORLD; ++axis) {
        const double along = filter.getInputObjectImage()->getSpacingOf(static_cast<Components>(axis));
        spacing[axis] = rules::isDivisor(along) ? std::fabs(along) : 1;  // no way leads along the axis
    }
    return spacing;
}

template <class Filter>
void prune(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const access::Steps steps(context, {0.1, 0.1});
        const BitImage skeleton(helper::getExtents(input));
        skeleton.pack(context, input, level);
        {
            SkeletonPaths paths(context, skeleton, axesOf<Filter>, spacingOf(filter));
            access::CountedVector<std::size_t> taken;
            taken.reserve(paths.voxelCount());
            paths.forEachBranch([&](const SkeletonBranch& branch) {
                if (branch.freeEnds == 1 && branch.length < filter.getMinimumLength()) {
                    taken.insert(taken.end(), branch.voxels.begin(), branch.voxels.end());
                }
            });
            for (const std::size_t voxel : taken) {
                skeleton.clear(paths.rowOf(voxel), paths.columnOf(voxel));
            }
        }
        // Where branches met there may be more voxels now than a line needs.
        thinObjects(context, skeleton, axesOf<Filter>, level);
        skeleton.unpack(context, *filter.getOutputBinaryImage(), level);
    });
}

template <class Filter>
void tabulate(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputObjectImage();
    const Extents n = helper::getExtents(input);
    const access::Steps steps(context, {0.2, 0.8});
    const BitImage skeleton(n);
    skeleton.pack(context, input, level);
    SkeletonPaths paths(context, skeleton, axesOf<Filter>, spacingOf(filter));
    SkeletonGraphMsr& table = *filter.getOutputMeasurement();
    const bool inWorld = filter.getLengthUnit() == Filter::WORLD;
    table.reset(n[SEQUENCE] > 1, n[SPECTRAL_SERIES] > 1, inWorld ? input.getSpatialUnitName() : String());
    const std::size_t parts = axesOf<Filter> == 3 ? 1 : n[PLANS];
    paths.forEachBranch([&](const SkeletonBranch& branch) {
        SkeletonGraphMsr::Branch row;
        row.length = branch.length;
        row.voxels = branch.voxels.size();
        row.freeEnds = branch.freeEnds;
        double square = 0;
        for (std::size_t end = 0; end < 2; ++end) {
            const SkeletonPaths::Node& node = paths.nodes()[branch.nodes[end]];
            row.nodes[end] = branch.nodes[end];
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto component = static_cast<Components>(axis);
                row.positions[end][axis] =
                    inWorld ? input.getOriginOf(component) + node.centre[axis] * input.getSpacingOf(component)
                            : node.centre[axis];
            }
            row.frame = node.part / parts % n[SEQUENCE];
            row.channel = node.part / parts / n[SEQUENCE];
        }
        for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
            const double way = row.positions[1][axis] - row.positions[0][axis];
            square += way * way;
        }
        row.distance = std::sqrt(square);
        table.append(row);
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputObjectImage();
    const Extents extents = helper::getExtents(input);
    const std::size_t rows = BitImage::rowBytes(input, filter.getMaximumThreads());
    std::size_t work = SkeletonPaths::bytes(extents);
    if constexpr (isPruner<Filter>) {
        work = std::max(work + sizeof(std::size_t) * input.getNumOf(COLUMNS) * input.getNumOf(ROWS) *
                                   input.getNumOf(PLANS) * input.getNumOf(SEQUENCE) * input.getNumOf(SPECTRAL_SERIES),
                        thinningBytes(extents, axesOf<Filter>));
    }
    return BitImage::bytes(extents) + std::max(work, rows);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    algorithms::Definition<Filter> definition{
        .summary = summary,
        .kind = isPruner<Filter> ? AlgorithmKind::Labeling : AlgorithmKind::Reduction,
        .declare = &declare<Filter>,
        .process = nullptr,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,
    };
    if constexpr (isPruner<Filter>) {
        definition.process = &prune<Filter>;
        definition.prepare = &algorithms::rememberMeaning<Filter>;
    } else {
        definition.process = &tabulate<Filter>;
    }
    return definition;
}

constexpr auto prunesPlanes = definitionOf<PruneSkeleton2d>("Takes short branches off the skeletons of each plane.");
constexpr auto prunesVolumes = definitionOf<PruneSkeleton3d>("Takes short branches off the skeletons of each volume.");
constexpr auto tablesOfPlanes =
    definitionOf<SkeletonGraph2d>("Measures the branches of the skeletons of each plane, as a graph.");
constexpr auto tablesOfVolumes =
    definitionOf<SkeletonGraph3d>("Measures the branches of the skeletons of each volume, as a graph.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(PruneSkeleton2d, algorithms::InputMeaning, prunesPlanes)
RIX_DEFINE_ALGORITHM_WITH(PruneSkeleton3d, algorithms::InputMeaning, prunesVolumes)
RIX_DEFINE_ALGORITHM(SkeletonGraph2d, tablesOfPlanes)
RIX_DEFINE_ALGORITHM(SkeletonGraph3d, tablesOfVolumes)

}  // namespace rix::morphology
