// The four filters: medians have no rank, those of planes no third extent.

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Definition.h>
#include <rix/filtering/rank/MedianFilter2d.h>
#include <rix/filtering/rank/MedianFilter3d.h>
#include <rix/filtering/rank/RankFilter2d.h>
#include <rix/filtering/rank/RankFilter3d.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/When.h>

#include "RankSelection.h"

namespace rix::filtering::rank {

namespace {

template <class Filter>
constexpr bool ofVolumes = requires(Filter& filter) { filter.kernelSizeZ; };

template <class Filter>
constexpr bool hasRank = requires(Filter& filter) { filter.rank; };

template <class Filter>
bool isRound(const Filter& filter) {
    return static_cast<int>(filter.getWindowShape()) != 0;
}

template <class Filter>
RankWindow windowOf(const Filter& filter) {
    if (isRound(filter)) {
        return RankWindow::round(static_cast<std::size_t>(filter.getRadius()), ofVolumes<Filter>);
    }
    std::size_t planes = 1;
    if constexpr (ofVolumes<Filter>) {
        planes = static_cast<std::size_t>(filter.getKernelSizeZ());
    }
    return RankWindow::box(static_cast<std::size_t>(filter.getKernelSizeX()),
                           static_cast<std::size_t>(filter.getKernelSizeY()), planes);
}

/// The voxels of the window are countable; stands on the last of its extents.
template <class Filter>
class RuleWindowSize : public Rules<Property<std::int32_t>> {
public:
    explicit RuleWindowSize(const Filter& filter) : m_filter(filter) {}
    void apply(Property<std::int32_t>& property) override {
        if (windowOf(m_filter).boxVoxels() > RankWindow::mostVoxels) {
            rules::refuse(rules::parameterText(property) + " makes a window of more than " +
                              std::to_string(RankWindow::mostVoxels) + " voxels.",
                          "It has " + std::to_string(windowOf(m_filter).boxVoxels()) + '.');
        }
    }
    String describe() const override {
        return "must not make a window of more than " + std::to_string(RankWindow::mostVoxels) + " voxels";
    }

private:
    const Filter& m_filter;
};

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    constexpr auto longest = static_cast<std::int32_t>(RankWindow::longestSide);
    const auto extent = [&](Property<std::int32_t>& property, const char* description) {
        property = 3;
        properties.input(property, description,
                         AddRuleInRange<std::int32_t>(1, longest, Bound::Included, Bound::Included));
    };
    properties.input(filter.inputImage, "The image that is filtered.", AddRulesForRealImage());
    properties.input(filter.windowShape, "The shape of the window.");
    extent(filter.kernelSizeX, "Columns of the window, in voxels, where it has corners.");
    extent(filter.kernelSizeY, "Rows of the window, in voxels, where it has corners.");
    if constexpr (ofVolumes<Filter>) {
        extent(filter.kernelSizeZ, "Planes of the window, in voxels, where it has corners.");
    }
    filter.radius = 1;
    properties.input(filter.radius, "The radius of a round window, in voxels.",
                     AddRuleInRange<std::int32_t>(0, (longest - 1) / 2, Bound::Included, Bound::Included));
    filter.radius.getImpl()->addRule(std::make_shared<RuleWindowSize<Filter>>(filter));
    if constexpr (ofVolumes<Filter>) {
        properties.onlyWith(filter.windowShape, {Filter::BOX}, filter.kernelSizeX, filter.kernelSizeY,
                            filter.kernelSizeZ);
        properties.onlyWith(filter.windowShape, {Filter::BALL}, filter.radius);
    } else {
        properties.onlyWith(filter.windowShape, {Filter::RECTANGLE}, filter.kernelSizeX, filter.kernelSizeY);
        properties.onlyWith(filter.windowShape, {Filter::DISK}, filter.radius);
    }
    if constexpr (hasRank<Filter>) {
        filter.rank = 0.5;
        properties.input(filter.rank, "Which of the ordered values: 0 the smallest, 1 the largest.",
                         AddRuleInRange<double>(0.0, 1.0, Bound::Included, Bound::Included));
    }
    properties.input(filter.inputMaskImage, "Optional: voxels where it is 0 don't count.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertType({RIX_UINT8})),
                     AddRuleWhenSet(AddRuleAssertSameSize(filter.inputImage)));
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.output(filter.outputImage, "The filtered image.", AddRuleAssertNotNull(),
                      AddRuleWhenSet(filter.inputMaskImage, AddRuleDisjointFrom(filter.inputMaskImage)),
                      AddRuleEnforceLike(filter.inputImage));
}

template <class Filter>
RankJob jobOf(const Filter& filter) {
    RankJob job{windowOf(filter), 0.5, filter.getBorderPolicy(), filter.getBorderValue(), filter.getInputMaskImage()};
    if (filter.getInputImage()->getInterpretation() == RIX_BINARY) {
        job.borderValue = job.borderValue != 0 ? 1 : 0;
    }
    if constexpr (hasRank<Filter>) {
        job.rank = filter.getRank();
    }
    return job;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    access::writeApart(context, input, *filter.getOutputImage(),
                       [&](ImageModel& target) { selectRanks(context, input, target, jobOf(filter), level); });
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    return windowOf(filter).reach();
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    return rankWorkingBytes(input, jobOf(filter), filter.getMaximumThreads()) +
           access::writeApartMemory(input, filter.getOutputImage(), input.getVoxelType());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto medianOfPlanes = definitionOf<MedianFilter2d>("Median of the voxels in a window, plane by plane.");
constexpr auto medianOfVolumes = definitionOf<MedianFilter3d>("Median of the voxels in a window of a volume.");
constexpr auto rankOfPlanes =
    definitionOf<RankFilter2d>("The value of given rank among the voxels in a window, plane by plane.");
constexpr auto rankOfVolumes =
    definitionOf<RankFilter3d>("The value of given rank among the voxels in a window of a volume.");

const EnumInfo& shapesOfPlanes() {
    static const EnumInfo info("WindowShape", "RECTANGLE = 0, DISK");
    return info;
}

const EnumInfo& shapesOfVolumes() {
    static const EnumInfo info("WindowShape", "BOX = 0, BALL");
    return info;
}

}  // namespace

const EnumInfo& MedianFilter2d::getInfoWindowShape() {
    return shapesOfPlanes();
}
const EnumInfo& RankFilter2d::getInfoWindowShape() {
    return shapesOfPlanes();
}
const EnumInfo& MedianFilter3d::getInfoWindowShape() {
    return shapesOfVolumes();
}
const EnumInfo& RankFilter3d::getInfoWindowShape() {
    return shapesOfVolumes();
}

RIX_DEFINE_ALGORITHM(MedianFilter2d, medianOfPlanes)
RIX_DEFINE_ALGORITHM(MedianFilter3d, medianOfVolumes)
RIX_DEFINE_ALGORITHM(RankFilter2d, rankOfPlanes)
RIX_DEFINE_ALGORITHM(RankFilter3d, rankOfVolumes)

}  // namespace rix::filtering::rank
