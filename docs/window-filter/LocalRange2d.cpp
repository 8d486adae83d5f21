#include "LocalRange2d.h"

#include <algorithm>

#include <rix/access/WindowFilters.h>
#include <rix/algorithms/AlgorithmClass.h>
#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/properties/EnumInfo.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

namespace rix::filtering {

namespace {

struct LocalRange2dPrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage;
    Property<std::int32_t> radius;
    PropertySingleChoice difference{&LocalRange2d::getInfoDifference()};
    PropertySingleChoice borderPolicy{&access::getInfoBorderPolicy()};
    Property<double> borderValue;
    Property<ImageModel*> outputImage;
};

access::BoxNeeds needsOf(const LocalRange2d& algorithm) {
    const auto size = 2 * static_cast<std::size_t>(std::max(algorithm.getRadius(), 0)) + 1;
    // A nanosecond a comparison.
    return {access::reachOfWindow(size, size, 1), static_cast<double>(size * size), sizeof(double)};
}

void process(LocalRange2d& algorithm, OptimLevelType /*level*/) {
    const auto radius = static_cast<std::int64_t>(algorithm.getRadius());
    const bool lessVoxel = algorithm.getDifference() == LocalRange2d::LARGEST_LESS_VOXEL;
    const auto border = access::borderOf<double>(algorithm.getBorderPolicy(), algorithm.getBorderValue());
    access::transformWindows<double, float>(
        algorithm.executionContext(), *algorithm.getInputImage(), *border, *algorithm.getOutputImage(),
        needsOf(algorithm), [&](access::WindowRows<double>& rows, const access::RowSegment& segment, float* out) {
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

void addRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<LocalRange2d, &process, &algorithms::acceptsAll<LocalRange2d>>(info);
}

}  // namespace

const EnumInfo& LocalRange2d::getInfoDifference() {
    static const EnumInfo info("Difference", "LARGEST_LESS_SMALLEST = 0, LARGEST_LESS_VOXEL");
    return info;
}

LocalRange2d::LocalRange2d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<LocalRange2dPrivate>(given)) {
    auto& state = static_cast<LocalRange2dPrivate&>(*implementation());
    addInput(state.inputImage, "inputImage", "The image whose neighbours are compared.");
    addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertIntegerOrFloating(),
             AddRuleAssertImageNotEmpty());
    state.radius = 1;
    addInput(state.radius, "radius", "Voxels from the middle of the square to its sides.");
    addRules(state.radius, AddRuleInRange<std::int32_t>(0, 1000, Bound::Included, Bound::Included));
    addInput(state.difference, "difference", "What the largest value is compared with.");
    addRules(state.difference, AddRuleIsAnEnumOfType(getInfoDifference()));
    addInput(state.borderPolicy, "borderPolicy", "What is found beyond the edges.");
    addRules(state.borderPolicy, AddRuleIsAnEnumOfType(access::getInfoBorderPolicy()));
    addInput(state.borderValue, "borderValue", "The value beyond the edges with FIXED.");
    addOutput(state.outputImage, "outputImage", "The differences.");
    addRules(state.outputImage, AddRuleAssertNotNull(), AddRuleDisjointFrom(state.inputImage),
             AddRuleEnforceImage(ImageCheck{RIX_FLOAT32, state.inputImage, RIX_VALUE}));
}

std::shared_ptr<LocalRange2d> LocalRange2d::New() {
    return std::make_shared<LocalRange2d>();
}

AlgoInfo& LocalRange2d::getInfo() {
    return algorithms::classRecord<LocalRange2d>("LocalRange2d", &addRunners);
}

AlgoInfo& LocalRange2d::getClassInfo() const {
    return getInfo();
}

AlgorithmDescription LocalRange2d::describe() const {
    AlgorithmDescription description;
    description.summary = "Replaces every voxel by what its neighbours in a square differ by.";
    description.kind = AlgorithmKind::Neighbourhood;
    const access::BoxNeeds needs = needsOf(*this);
    const access::Reach& reach = needs.reach;
    description.borderInfluence.lower = {reach.columns.before, reach.rows.before, 0};
    description.borderInfluence.upper = {reach.columns.after, reach.rows.after, 0};
    if (const ImageModel* const image = getInputImage(); image != nullptr) {
        description.outputs.push_back({"outputImage", RIX_FLOAT32, helper::getExtents(*image)});
        description.extraMemory = access::windowMemory(*image, needs, sizeof(double), getMaximumThreads());
    }
    return description;
}

}  // namespace rix::filtering
