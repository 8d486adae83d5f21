#include "LocalRange2d.h"

#include <algorithm>

#include <rix/access/WindowFilters.h>
#include <rix/algorithms/Definition.h>

namespace rix::filtering {

namespace {

void declare(LocalRange2d& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image whose neighbours are compared.", AddRulesForRealImage());
    filter.radius = 1;
    properties.input(filter.radius, "Voxels from the middle of the square to its sides.",
                     AddRuleInRange<std::int32_t>(0, 1000, Bound::Included, Bound::Included));
    properties.input(filter.difference, "What the largest value is compared with.");
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.output(filter.outputImage, "The differences.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(filter.inputImage),
                      AddRuleEnforceLike(filter.inputImage, {.voxelType = RIX_FLOAT32, .interpretation = RIX_VALUE}));
}

access::BoxNeeds needsOf(const LocalRange2d& filter) {
    const auto size = 2 * static_cast<std::size_t>(filter.getRadius()) + 1;
    // A nanosecond a comparison.
    return {access::reachOfWindow(size, size, 1), static_cast<double>(size * size), sizeof(double)};
}

void process(LocalRange2d& filter, OptimLevelType /*level*/) {
    const auto radius = static_cast<std::int64_t>(filter.getRadius());
    const bool lessVoxel = filter.getDifference() == LocalRange2d::LARGEST_LESS_VOXEL;
    const auto border = access::borderOf<double>(filter.getBorderPolicy(), filter.getBorderValue());
    access::transformWindows<double, float>(
        filter.executionContext(), *filter.getInputImage(), *border, *filter.getOutputImage(), needsOf(filter),
        [&](access::WindowRows<double>& rows, const access::RowSegment& segment, float* out) {
            const auto row = static_cast<std::int64_t>(segment.row);
            const auto plane = static_cast<std::int64_t>(segment.plane);
            for (std::int64_t x = 0; x < static_cast<std::int64_t>(segment.count); ++x) {
                double smallest = rows.row(row, plane)[x];
                double largest = smallest;
                for (std::int64_t y = row - radius; y <= row + radius; ++y) {
                    const auto [low, high] =
                        std::minmax_element(rows.row(y, plane) + x - radius, rows.row(y, plane) + x + radius + 1);
                    smallest = std::min(smallest, *low);
                    largest = std::max(largest, *high);
                }
                out[x] = static_cast<float>(largest - (lessVoxel ? rows.row(row, plane)[x] : smallest));
            }
        });
}

constexpr algorithms::Definition<LocalRange2d> definition{
    .summary = "Replaces every voxel by what its neighbours in a square differ by.",
    .kind = AlgorithmKind::Neighbourhood,
    .declare = &declare,
    .process = &process,
    .influence = [](const LocalRange2d& filter) { return needsOf(filter).reach; },
    .memory =
        [](const LocalRange2d& filter) {
            return access::windowMemory(*filter.getInputImage(), needsOf(filter), sizeof(double),
                                        filter.getMaximumThreads());
        },
};

}  // namespace

const EnumInfo& LocalRange2d::getInfoDifference() {
    static const EnumInfo info("Difference", "LARGEST_LESS_SMALLEST = 0, LARGEST_LESS_VOXEL");
    return info;
}

RIX_DEFINE_ALGORITHM(LocalRange2d, definition)

}  // namespace rix::filtering
