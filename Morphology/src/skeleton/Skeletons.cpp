// Skeletons of objects, and where they end and branch.

#include <rix/access/Plan.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/morphology/BranchPoints2d.h>
#include <rix/morphology/BranchPoints3d.h>
#include <rix/morphology/EndPoints2d.h>
#include <rix/morphology/EndPoints3d.h>
#include <rix/morphology/Skeleton2d.h>
#include <rix/morphology/Skeleton3d.h>

#include "IsOneOf.h"
#include "skeleton/SkeletonKernels.h"
#include "skeleton/Thinning.h"

namespace rix::morphology {

namespace {

template <class Filter>
constexpr std::size_t axesOf = isOneOf<Filter, Skeleton3d, EndPoints3d, BranchPoints3d> ? 3 : 2;
template <class Filter>
constexpr bool isSkeleton = isOneOf<Filter, Skeleton2d, Skeleton3d>;
template <class Filter>
constexpr bool isOfEnds = isOneOf<Filter, EndPoints2d, EndPoints3d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputObjectImage,
                     isSkeleton<Filter> ? "The objects: what is not 0." : "The skeleton: what is not 0.",
                     AddRulesForRealImage());
    properties.output(
        filter.outputBinaryImage,
        isSkeleton<Filter> ? "The skeletons." : (isOfEnds<Filter> ? "Where skeletons end." : "Where skeletons branch."),
        AddRuleAssertNotNull(),
        AddRuleEnforceLike(filter.inputObjectImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
}

/// Rows of `found` from the rows around them.
template <class Find>
void findInRows(access::ExecutionContext& context, const BitImage& objects, const BitImage& found, std::size_t axes,
                Find* find) {
    const access::Plan plan =
        access::cutBands(objects.extents(), {.joined = access::JoinedAxes::Lines, .nanosecondsPerVoxel = 0.2});
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        for (std::size_t row = block.rows().begin; row < block.rows().end; ++row) {
            find(objects.around(row, axes), found.row(row), objects.chunks());
            progress.add(objects.extents()[COLUMNS]);
        }
    });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    ImageModel& output = *filter.getOutputBinaryImage();
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const BitImage objects(helper::getExtents(input));
        if constexpr (isSkeleton<Filter>) {
            const access::Steps steps(context, {0.1, 0.1});
            objects.pack(context, input, level);
            thinObjects(context, objects, axesOf<Filter>, level);
            objects.unpack(context, output, level);
        } else {
            const access::Steps steps(context, {0.4, 0.2, 0.4});
            objects.pack(context, input, level);
            const BitImage found(objects.extents());
            const SkeletonKernels kernels = skeletonKernels(level, axesOf<Filter>);
            findInRows(context, objects, found, axesOf<Filter>, isOfEnds<Filter> ? kernels.ends : kernels.branches);
            found.unpack(context, output, level);
        }
    });
}

template <class Filter>
access::Reach reachOf(const Filter& /*filter*/) {
    constexpr std::size_t acrossPlanes = axesOf<Filter> - 2;
    return {{1, 1}, {1, 1}, {acrossPlanes, acrossPlanes}};
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputObjectImage();
    const Extents extents = helper::getExtents(input);
    const std::size_t work = isSkeleton<Filter> ? thinningBytes(extents, axesOf<Filter>) : BitImage::bytes(extents);
    return BitImage::bytes(extents) + std::max(work, BitImage::rowBytes(input, filter.getMaximumThreads()));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = isSkeleton<Filter> ? AlgorithmKind::Labeling : AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = isSkeleton<Filter> ? nullptr : &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

}  // namespace

#define RIX_DEFINE_PAIR(Name, text)                                                         \
    static constexpr auto definitionOf##Name##2d = definitionOf<Name##2d>(text " plane.");  \
    static constexpr auto definitionOf##Name##3d = definitionOf<Name##3d>(text " volume."); \
    RIX_DEFINE_ALGORITHM_WITH(Name##2d, algorithms::InputMeaning, definitionOf##Name##2d)   \
    RIX_DEFINE_ALGORITHM_WITH(Name##3d, algorithms::InputMeaning, definitionOf##Name##3d)

RIX_DEFINE_PAIR(Skeleton, "Thins the objects to lines in their middle in each")
RIX_DEFINE_PAIR(EndPoints, "Finds where the lines of a skeleton end in each")
RIX_DEFINE_PAIR(BranchPoints, "Finds where the lines of a skeleton branch in each")

}  // namespace rix::morphology
