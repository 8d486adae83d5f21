#include <rix/segmentation/MultiLevelThresholding.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/analysis/GreyCounts.h>
#include <rix/rules/CompareRules.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

#include "ClassDivision.h"
#include "ThresholdKernels.h"

namespace rix::segmentation {

namespace {

constexpr std::size_t mostCounted = 256;

void declare(MultiLevelThresholding& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputGrayImage, "The image that is divided.", AddRulesForRealImage());
    algorithm.numberOfClasses = 3;
    properties.input(algorithm.numberOfClasses, "Into how many classes.",
                     AddRuleInRange<std::int32_t>(2, 256, Bound::Included, Bound::Included));
    properties.output(
        algorithm.outputLabelImage, "The class of each voxel, from 0 on.", AddRuleAssertNotNull(),
        AddRuleCompare(CompareRelation::NotEqual, algorithm.inputGrayImage),
        AddRuleDisjointFrom(algorithm.inputGrayImage),
        AddRuleEnforceLike(algorithm.inputGrayImage,
                           {.voxelType = RIX_UINT8, .interpretation = RIX_LABEL, .labelScope = LabelScope::Volume}));
    properties.output(algorithm.outputMeasurement, "A row for each threshold.", AddRuleCreateMeasurement());
}

/// Voxels counted in classes of equal width.
struct CountedClasses {
    double start = 0.0;
    double end = 0.0;
    bool isOfIntegers = false;  ///< each class is an integer
    std::vector<std::uint64_t> counts;

    double endOf(std::size_t index) const {
        if (isOfIntegers) {
            return start + static_cast<double>(index + 1);
        }
        const double part = static_cast<double>(index + 1) / static_cast<double>(counts.size());
        // Not as one difference, which may be infinite.
        return start * (1.0 - part) + end * part;
    }
};

/// The classes of values that were counted one by one, from `lowest` on.
CountedClasses joinValues(const analysis::GreyCounts& values, double lowest) {
    const auto isOccupied = [](std::uint64_t count) { return count != 0; };
    const auto first = std::find_if(values.begin(), values.end(), isOccupied);
    const auto last = std::find_if(values.rbegin(), values.rend(), isOccupied).base();
    const auto number = static_cast<std::size_t>(last - first);
    const double start = lowest + static_cast<double>(first - values.begin());
    if (number <= mostCounted) {
        return {start, start + static_cast<double>(number), true, {first, last}};
    }
    CountedClasses joined{start, start + static_cast<double>(number - 1), false, {}};
    joined.counts.resize(mostCounted);
    for (std::size_t i = 0; i < number; ++i) {
        joined.counts[std::min(i * mostCounted / (number - 1), mostCounted - 1)] +=
            first[static_cast<std::ptrdiff_t>(i)];
    }
    return joined;
}

/// Two steps of the run, or one.
CountedClasses countClasses(access::ExecutionContext& context, const ImageModel& image, OptimLevelType level) {
    const VoxelTypes type = image.getVoxelType();
    if (analysis::hasValueCounts(type)) {
        double lowest = 0.0;
        access::dispatch(access::Integers{}, type, [&](auto tag) {
            lowest = static_cast<double>(std::numeric_limits<typename decltype(tag)::type>::min());
        });
        return joinValues(analysis::countsOfValues(context, image), lowest);
    }
    const analysis::GreyRange range = analysis::extremesOf(context, level, image);
    if (!range.hasValues()) {
        return {};
    }
    const double span = range.maximum - range.minimum;
    const bool isOfIntegers = access::contains(access::Integers{}, type) && span < static_cast<double>(mostCounted);
    const std::size_t classes = isOfIntegers ? static_cast<std::size_t>(span) + 1 : mostCounted;
    const double end = isOfIntegers ? range.maximum + 1.0 : range.maximum;
    const analysis::GreyCounts counts = analysis::countsOfClasses(context, level, image, {range.minimum, end}, classes);
    return {range.minimum, end, isOfIntegers, {counts.begin(), counts.end()}};
}

/// The least value of a type that is not below a threshold, which lies within the range of the type.
template <class T>
T leastOf(double threshold) {
    if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(std::min(std::ceil(threshold), static_cast<double>(std::numeric_limits<T>::max())));
    } else {
        const auto nearest = static_cast<T>(threshold);
        return static_cast<double>(nearest) < threshold ? std::nextafter(nearest, std::numeric_limits<T>::infinity())
                                                        : nearest;
    }
}

template <class T>
void label(access::ExecutionContext& context, const ImageModel& input, const std::vector<double>& thresholds,
           ImageModel& output, OptimLevelType level) {
    constexpr std::size_t piece = 2048;
    const ThresholdRow<T> reaches =
        thresholdRows<T>(level).byCriterion[ThresholdingByCriterion::GREATER_THAN_OR_EQUAL_TO];
    std::vector<T> leasts;
    std::transform(thresholds.begin(), thresholds.end(), std::back_inserter(leasts), &leastOf<T>);
    const double cost = 0.2 + 0.1 * static_cast<double>(leasts.size());
    access::transformRows<T, std::uint8_t>(
        context, input, output, cost, [&](const T* in, std::uint8_t* out, std::size_t count) {
            std::uint8_t reached[piece];
            for (std::size_t begin = 0; begin < count; begin += piece) {
                const std::size_t n = std::min(piece, count - begin);
                std::uint8_t* const labels = out + begin;
                std::fill_n(labels, n, std::uint8_t{0});
                for (const T least : leasts) {
                    reaches(in + begin, reached, n, least);
                    for (std::size_t x = 0; x < n; ++x) {
                        labels[x] = static_cast<std::uint8_t>(labels[x] + reached[x]);
                    }
                }
            }
        });
}

void process(MultiLevelThresholding& algorithm, OptimLevelType level) {
    access::ExecutionContext& context = algorithm.executionContext();
    const access::Steps steps(context, 3);
    algorithms::readAsItWas(algorithm, [&](const ImageModel& input) {
        const CountedClasses classes = countClasses(context, input, level);
        std::vector<double> thresholds;
        for (const std::size_t last :
             divideClasses(classes.counts, static_cast<std::size_t>(algorithm.getNumberOfClasses()))) {
            thresholds.push_back(classes.endOf(last));
        }
        access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
            label<typename decltype(tag)::type>(context, input, thresholds, *algorithm.getOutputLabelImage(), level);
        });
        MultiLevelThresholdingMsr& table = *algorithm.getOutputMeasurement();
        table.threshold.reset(thresholds.size());
        for (std::size_t i = 0; i < thresholds.size(); ++i) {
            table.threshold[i] = thresholds[i];
        }
    });
}

constexpr algorithms::Definition<MultiLevelThresholding> definition{
    .summary = "Divides grey values into classes of the largest between-class variance.",
    .kind = AlgorithmKind::Composite,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<MultiLevelThresholding>,
    .memory =
        [](const MultiLevelThresholding& algorithm) {
            return analysis::countsMemory(*algorithm.getInputGrayImage(), mostCounted, algorithm.getMaximumThreads());
        },
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(MultiLevelThresholding, algorithms::InputMeaning, definition)

}  // namespace rix::segmentation
