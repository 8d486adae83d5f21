// Where images change their sign, in planes and in volumes.

#include <rix/access/WindowFilters.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/edge_detection/ZeroCrossings2d.h>
#include <rix/edge_detection/ZeroCrossings3d.h>

#include "EdgeProperties.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<ZeroCrossings3d> = 3;

namespace {

constexpr double nanosecondsPerVoxel = 1.0;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image whose changes of sign are wanted.", AddRulesForRealImage());
    filter.threshold = 0.0;
    properties.input(filter.threshold, "The difference of neighbours above which a change counts.",
                     AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    properties.output(filter.outputBinaryImage, "The voxels next to changes of sign.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(filter.inputImage),
                      AddRuleEnforceLike(filter.inputImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
}

template <class Filter>
access::BoxNeeds needsOf(const ImageModel& input) {
    const access::Reach::Axis axis{1, 1};
    access::BoxNeeds needs{{axis, axis, ofVolumes<Filter> ? axis : access::Reach::Axis{}}, nanosecondsPerVoxel};
    needs.heldBytesPerVoxel = helper::getSizeOf(fieldWorkType(input.getVoxelType()));
    return needs;
}

/// Marks the voxels of a row that are nearer to 0 than a neighbour of the other sign.
template <class T>
void markCrossings(const T* row, const T* neighbours, T threshold, std::uint8_t* out, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const T here = row[x];
        const T there = neighbours[x];
        const T size = std::abs(here);
        const T other = std::abs(there);
        const bool differs = here < T{0} ? there >= T{0} : there < T{0};
        const bool isNearer = here < T{0} ? size < other : size <= other;
        out[x] =
            static_cast<std::uint8_t>(out[x] | (differs && isNearer && std::abs(here - there) > threshold ? 1U : 0U));
    }
}

template <class Filter>
void process(Filter& filter, OptimLevelType /*level*/) {
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        inWorkType(input, [&](auto tag) {
            using T = typename decltype(tag)::type;
            const auto border = access::borderOf<T>(access::BorderPolicy::MIRROR, 0.0);
            const T threshold = static_cast<T>(filter.getThreshold());
            access::transformWindows<T, std::uint8_t>(
                filter.executionContext(), input, *border, *filter.getOutputBinaryImage(), needsOf<Filter>(input),
                [&](access::WindowRows<T>& window, const access::RowSegment& segment, std::uint8_t* out) {
                    const auto y = static_cast<std::int64_t>(segment.row);
                    const auto z = static_cast<std::int64_t>(segment.plane);
                    const T* const row = window.row(y, z);
                    std::fill_n(out, segment.count, std::uint8_t{0});
                    const auto mark = [&](const T* neighbours) {
                        markCrossings(row, neighbours, threshold, out, segment.count);
                    };
                    mark(row - 1);
                    mark(row + 1);
                    mark(window.row(y - 1, z));
                    mark(window.row(y + 1, z));
                    if (ofVolumes<Filter>) {
                        mark(window.row(y, z - 1));
                        mark(window.row(y, z + 1));
                    }
                });
        });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const access::BoxNeeds needs = needsOf<Filter>(input);
    return access::windowMemory(input, needs, needs.heldBytesPerVoxel, filter.getMaximumThreads());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = [](const Filter& filter) { return needsOf<Filter>(*filter.getInputImage()).reach; },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes = definitionOf<ZeroCrossings2d>("Marks where planes change their sign.");
constexpr auto inVolumes = definitionOf<ZeroCrossings3d>("Marks where volumes change their sign.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(ZeroCrossings2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(ZeroCrossings3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::edge_detection
