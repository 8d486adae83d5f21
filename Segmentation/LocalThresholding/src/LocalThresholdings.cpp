// Both local thresholds: that of planes and that of volumes.

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <type_traits>

#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/analysis/GreyCounts.h>
#include <rix/filtering/rank/MedianFilter2d.h>
#include <rix/filtering/rank/MedianFilter3d.h>
#include <rix/filtering/smoothing/GaussianFilter2d.h>
#include <rix/filtering/smoothing/GaussianFilter3d.h>
#include <rix/filtering/smoothing/LocalStatistics2d.h>
#include <rix/filtering/smoothing/LocalStatistics3d.h>
#include <rix/image/ImageHeader.h>
#include <rix/morphology/Dilation2d.h>
#include <rix/morphology/Dilation3d.h>
#include <rix/morphology/Erosion2d.h>
#include <rix/morphology/Erosion3d.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/CompareRules.h>
#include <rix/segmentation/LocalThresholding2d.h>
#include <rix/segmentation/LocalThresholding3d.h>
#include <rix/settings/Settings.h>

#include "LocalThresholdKernels.h"

namespace rix::segmentation {

namespace {

using Method = LocalThresholdingMethod;

constexpr std::int32_t longestSide = 1023;

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, LocalThresholding3d>;
template <class Filter, class Plane, class Volume>
using ChildOf = std::conditional_t<ofVolumes<Filter>, Volume, Plane>;

template <class Filter>
using StatisticsOf = ChildOf<Filter, filtering::smoothing::LocalStatistics2d, filtering::smoothing::LocalStatistics3d>;
template <class Filter>
using GaussianOf = ChildOf<Filter, filtering::smoothing::GaussianFilter2d, filtering::smoothing::GaussianFilter3d>;
template <class Filter>
using MedianOf = ChildOf<Filter, filtering::rank::MedianFilter2d, filtering::rank::MedianFilter3d>;
template <class Filter>
using DilationOf = ChildOf<Filter, morphology::Dilation2d, morphology::Dilation3d>;
template <class Filter>
using ErosionOf = ChildOf<Filter, morphology::Erosion2d, morphology::Erosion3d>;

/// Windows have a voxel in their middle.
class RuleOdd : public Rules<Property<std::int32_t>> {
public:
    using ValueType = std::int32_t;

    bool isIndividual() const override { return true; }
    void apply(Property<std::int32_t>& property) override {
        if (property.get() % 2 == 0) {
            rules::refuse(rules::parameterText(property) + " must be odd.",
                          "The value is " + rules::valueToText(property.get()) + '.');
        }
    }
    String describe() const override { return "must be odd"; }
};
using AddRuleOdd = rules::RuleAdder<RuleOdd>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    const auto size = [&](Property<std::int32_t>& property, const char* description) {
        property = 15;
        properties.input(property, description,
                         AddRuleInRange<std::int32_t>(1, longestSide, Bound::Included, Bound::Included), AddRuleOdd());
    };
    properties.input(filter.inputGrayImage, "The image whose voxels are compared.", AddRulesForRealImage());
    properties.input(filter.method, "What the threshold of a voxel follows from.");
    size(filter.kernelSizeX, "Columns of the window, in voxels.");
    size(filter.kernelSizeY, "Rows of the window, in voxels.");
    if constexpr (ofVolumes<Filter>) {
        size(filter.kernelSizeZ, "Planes of the window, in voxels.");
    }
    filter.weight = 0.2;
    properties.input(filter.weight, "The weight k of the deviation.", AddRuleAssertFinite());
    properties.onlyWith(filter.method, {Method::NIBLACK, Method::SAUVOLA, Method::PHANSALKAR}, filter.weight);
    properties.input(filter.offset, "What the threshold is lowered by.", AddRuleAssertFinite());
    filter.contrast = 15.0;
    properties.input(filter.contrast, "Windows of less contrast are of one side, for BERNSEN.",
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL), AddRuleAssertFinite());
    properties.onlyWith(filter.method, {Method::BERNSEN}, filter.contrast);
    properties.input(filter.side, "Whether what is brighter than its threshold is kept, or all the rest.");
    properties.output(
        filter.outputBinaryImage, "1 on the kept side, 0 elsewhere.", AddRuleAssertNotNull(),
        AddRuleCompare(CompareRelation::NotEqual, filter.inputGrayImage), AddRuleDisjointFrom(filter.inputGrayImage),
        AddRuleEnforceLike(filter.inputGrayImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
}

bool hasDeviations(Method method) {
    return method == Method::NIBLACK || method == Method::SAUVOLA || method == Method::PHANSALKAR;
}

/// What thresholds follow from is of the input's type, else of reals.
bool keepsType(Method method) {
    return method == Method::MEDIAN || method == Method::BERNSEN;
}

/// The header of what the thresholds of an image follow from.
ImageHeader localHeader(const ImageModel& image, Method method) {
    ImageHeader header = helper::headerOf(image);
    if (!keepsType(method)) {
        header.voxelType = image.getVoxelType() == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
        header.interpretation = RIX_VALUE;
    }
    return header;
}

template <class Filter, class Child>
void setWindow(const Filter& filter, Child& child) {
    child.setKernelSizeX(filter.getKernelSizeX());
    child.setKernelSizeY(filter.getKernelSizeY());
    if constexpr (ofVolumes<Filter>) {
        child.setKernelSizeZ(filter.getKernelSizeZ());
    }
}

double deviationOf(std::int32_t size) {
    return static_cast<double>(size - 1) / 6.0;
}

/// Calls `use(child)` with the filters that write what thresholds follow from, one after another.
template <class Filter, class Use>
void forEachChild(const Filter& filter, const ImageModel& input, ImageModel& first, ImageModel& second,
                  const Use& use) {
    const auto one = [&](auto&& child, ImageModel& output) {
        child.setInputImage(&input);
        child.setOutputImage(&output);
        use(child);
    };
    const Method method = filter.getMethod();
    if (method == Method::MEDIAN) {
        MedianOf<Filter> median;
        setWindow(filter, median);
        one(median, first);
    } else if (method == Method::GAUSSIAN) {
        GaussianOf<Filter> gaussian;
        gaussian.setStandardDeviationX(deviationOf(filter.getKernelSizeX()));
        gaussian.setStandardDeviationY(deviationOf(filter.getKernelSizeY()));
        if constexpr (ofVolumes<Filter>) {
            gaussian.setStandardDeviationZ(deviationOf(filter.getKernelSizeZ()));
        }
        gaussian.setOutputType(input.getVoxelType() == RIX_FLOAT64 ? GaussianOf<Filter>::SAME_AS_INPUT
                                                                   : GaussianOf<Filter>::FLOAT_32_BIT);
        one(gaussian, first);
    } else if (method == Method::BERNSEN) {
        // Of odd windows mirrored voxels are voxels of the window, so that those beyond the edges may be left out.
        DilationOf<Filter> dilation;
        setWindow(filter, dilation);
        one(dilation, first);
        ErosionOf<Filter> erosion;
        setWindow(filter, erosion);
        one(erosion, second);
    } else {
        StatisticsOf<Filter> statistics;
        setWindow(filter, statistics);
        one(statistics, first);
        if (hasDeviations(method)) {
            statistics.setStatistic(StatisticsOf<Filter>::STANDARD_DEVIATION);
            one(statistics, second);
        }
    }
}

bool hasTwo(Method method) {
    return hasDeviations(method) || method == Method::BERNSEN;
}

bool needsRange(Method method) {
    return method == Method::SAUVOLA || method == Method::PHANSALKAR || method == Method::BERNSEN;
}

/// The range of the values: a step of the run.
template <class Filter>
ThresholdNumbers numbersOf(Filter& filter, const ImageModel& input, OptimLevelType level) {
    ThresholdNumbers numbers{filter.getWeight(), filter.getOffset(), filter.getContrast()};
    if (algorithms::wasBinary(filter) || !needsRange(filter.getMethod())) {
        return numbers;
    }
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_integral_v<T>) {
            numbers.lowest = std::numeric_limits<T>::min();
            numbers.highest = std::numeric_limits<T>::max();
        } else {
            const analysis::GreyRange range = analysis::extremesOf(filter.executionContext(), level, input);
            numbers.lowest = range.minimum;
            numbers.highest = range.maximum > range.minimum ? range.maximum : range.minimum + 1.0;
        }
    });
    return numbers;
}

constexpr double nanosecondsPerVoxel = 1.0;

/// Compares the voxels: a step of the run.
template <class T, class M>
void compare(BaseAlgorithm& algorithm, const ImageModel& input, const ImageModel& first, const ImageModel* second,
             ImageModel& output, LocalThresholdRow<T, M> row, const ThresholdNumbers& numbers, std::uint8_t side) {
    const ImageModel& other = second != nullptr ? *second : first;
    const access::Plan plan = access::cutLines({&input, &first, &other, &output}, nanosecondsPerVoxel);
    access::run(algorithm.executionContext(), plan, [&](const access::Block& block) {
        access::RowReader<T> in(input, plan);
        access::RowReader<M> firsts(first, plan);
        access::RowReader<M> seconds(other, plan);
        access::RowWriter<std::uint8_t> out(output, plan);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const T* const values = in.read(segment);
            const M* const a = firsts.read(segment);
            const M* const b = seconds.read(segment);
            row(values, a, b, out.open(segment), segment.count, numbers, side);
            out.flush();
        });
    });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const Method method = filter.getMethod();
    const bool isDouble = hasTwo(method);
    const access::Steps steps(context, {needsRange(method) ? 0.5 : 0.0, 2.0, isDouble ? 2.0 : 0.0, 1.0});
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const ThresholdNumbers numbers = numbersOf(filter, input, level);
        const HeaderImage like(localHeader(input, method));
        access::TemporaryImage first(like);
        std::optional<access::TemporaryImage> second;
        if (isDouble) {
            second.emplace(like);
        }
        ImageModel* const other = isDouble ? &second->image() : nullptr;
        forEachChild(filter, input, first.image(), isDouble ? *other : first.image(),
                     [&](BaseAlgorithm& child) { algorithms::runChild(filter, child, level); });
        const auto side = static_cast<std::uint8_t>(filter.getSide() == Filter::BRIGHT ? 1 : 0);
        access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
            using T = typename decltype(tag)::type;
            using Real = std::conditional_t<std::is_same_v<T, double>, double, float>;
            const auto with = [&]<class M>(M) {
                compare<T, M>(filter, input, first.image(), other, *filter.getOutputBinaryImage(),
                              localThresholdRow<T, M>(method, level), numbers, side);
            };
            if (keepsType(method)) {
                with(T{});
            } else {
                with(Real{});
            }
        });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputGrayImage();
    const Method method = filter.getMethod();
    const HeaderImage like(localHeader(input, method));
    HeaderImage first(like.header());
    HeaderImage second(like.header());
    // Rows of binary images are copied on their way.
    const std::size_t copies = algorithms::isBinary(&input) ? 3 : 0;
    const access::Plan plan = access::cutLines({&input}, nanosecondsPerVoxel);
    std::size_t most = filter.getMaximumThreads() * copies *
                       access::Scratch::held(plan.largestPart(COLUMNS) * helper::getSizeOf(input.getVoxelType()));
    forEachChild(filter, input, first, second, [&](BaseAlgorithm& child) {
        child.settings() = filter.settings();
        most = std::max(most, child.describe().extraMemory);
    });
    return (hasTwo(method) ? 2 : 1) * access::TemporaryImage::bytes(like, like.getVoxelType()) + most;
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    std::size_t planes = 1;
    if constexpr (ofVolumes<Filter>) {
        planes = static_cast<std::size_t>(filter.getKernelSizeZ());
    }
    return access::reachOfWindow(static_cast<std::size_t>(filter.getKernelSizeX()),
                                 static_cast<std::size_t>(filter.getKernelSizeY()), planes);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Composite,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes =
    definitionOf<LocalThresholding2d>("Compares voxels with thresholds of the rectangles around them.");
constexpr auto inVolumes =
    definitionOf<LocalThresholding3d>("Compares voxels with thresholds of the boxes around them.");

}  // namespace

const EnumInfo& getInfoLocalThresholdingMethod() {
    static const EnumInfo info("LocalThresholdingMethod",
                               "MEAN = 0, MEDIAN, GAUSSIAN, NIBLACK, SAUVOLA, PHANSALKAR, BERNSEN");
    return info;
}

const EnumInfo& getInfoThresholdingSide() {
    static const EnumInfo info("ThresholdingSide", "BRIGHT = 0, DARK");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(LocalThresholding2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(LocalThresholding3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::segmentation
