#include <rix/manipulation/HistogramEqualization.h>

#include <algorithm>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>

#include "GreyMap.h"
#include "NumberImage.h"
#include "PointFunction.h"

namespace rix::manipulation {

namespace {

void declare(HistogramEqualization& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose grey values are spread.", AddRulesForRealImage());
    algorithm.numberOfClasses = 256;
    properties.input(algorithm.numberOfClasses, "Classes of grey values, in types of more than 16 bits.",
                     AddRuleLimitedValue<std::int32_t>(1, CHECK_GREATER_OR_EQUAL),
                     AddRuleLimitedValue<std::int32_t>(65535, CHECK_LOWER_OR_EQUAL));
    properties.output(algorithm.outputImage, "The image with grey values that are about equally frequent.",
                      AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage),
                      AddRuleEnforceLike(algorithm.inputImage, {.interpretation = RIX_VALUE}));
}

/// The number of voxels up to the end of each class, as values from the minimum to the maximum of a range.
GreyMap equalizingMap(const GreyDistribution& distribution, const analysis::GreyRange& full) {
    GreyMap map{distribution.range.minimum, distribution.range.maximum, {}};
    map.entries.reserve(distribution.counts.size() + 1);
    std::uint64_t total = 0;
    for (const std::uint64_t count : distribution.counts) {
        total += count;
    }
    std::uint64_t first = 0;  // of values: those of the smallest one take no part
    if (distribution.isOfValues) {
        first = *std::find_if(distribution.counts.begin(), distribution.counts.end(),
                              [](std::uint64_t count) { return count > 0; });
    } else {
        map.entries.push_back(full.minimum);
    }
    std::uint64_t below = 0;
    for (const std::uint64_t count : distribution.counts) {
        below += count;
        const double share =
            below < first ? 0.0 : static_cast<double>(below - first) / static_cast<double>(total - first);
        map.entries.push_back(full.minimum * (1.0 - share) + full.maximum * share);
    }
    return map;
}

bool hasSeveralValues(const GreyDistribution& distribution) {
    const auto occurs = [](std::uint64_t count) { return count > 0; };
    return distribution.isOfValues ? std::count_if(distribution.counts.begin(), distribution.counts.end(), occurs) > 1
                                   : distribution.range.minimum < distribution.range.maximum;
}

void process(HistogramEqualization& algorithm, OptimLevelType level) {
    const ImageModel& input = *algorithm.getInputImage();
    const access::Steps steps(algorithm.executionContext(), 3);
    const NumberImage numbers(algorithm, input, algorithms::wasBinary(algorithm), level);
    const GreyDistribution distribution = distributionOf(algorithm.executionContext(), level, numbers.image(),
                                                         static_cast<std::size_t>(algorithm.getNumberOfClasses()));
    if (hasSeveralValues(distribution)) {
        const GreyMap map = equalizingMap(distribution, fullRangeOf(numbers.image(), distribution.range));
        applyMap(algorithm, numbers.image(), map, *algorithm.getOutputImage(), level);
        return;
    }
    const auto copy = []<class T>(const T* in, T* out, std::size_t count) {
        std::copy_n(in, in == out ? 0 : count, out);
    };
    applyFunction(algorithm, numbers.image(), false, *algorithm.getOutputImage(), level, 0.3, copy);
}

std::size_t memoryOf(const HistogramEqualization& algorithm) {
    const ImageModel& input = *algorithm.getInputImage();
    const std::size_t threads = algorithm.getMaximumThreads();
    const auto classes = static_cast<std::size_t>(algorithm.getNumberOfClasses());
    const std::size_t entries = analysis::hasValueCounts(input.getVoxelType())
                                    ? std::size_t{1} << (8 * helper::getSizeOf(input.getVoxelType()))
                                    : classes + 1;
    const std::size_t tables = (2 * entries + 1) * sizeof(double);  // counts and results
    return NumberImage::memory(input, isBinary(&input)) +
           std::max(distributionMemory(input, classes, threads), tables + functionMemory(threads));
}

constexpr algorithms::Definition<HistogramEqualization> definition{
    .summary = "Spreads grey values so that all are about equally frequent.",
    .kind = AlgorithmKind::Composite,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<HistogramEqualization>,
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(HistogramEqualization, algorithms::InputMeaning, definition)

}  // namespace rix::manipulation
