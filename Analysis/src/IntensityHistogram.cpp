#include <rix/analysis/IntensityHistogram.h>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>
#include <rix/analysis/GreyCounts.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/When.h>

#include "HistogramFilling.h"

namespace rix::analysis {

namespace {

constexpr std::int32_t mostClasses = 65535;

void declare(IntensityHistogram& algorithm, algorithms::Properties& properties) {
    const auto isOther = [&algorithm] { return algorithm.getRangeMode() == IntensityHistogram::OTHER; };
    properties.input(algorithm.inputImage, "The image whose voxels are counted.", AddRulesForRealImage());
    algorithm.numberOfClasses = 256;
    properties.input(algorithm.numberOfClasses, "The number of classes of equal width.",
                     AddRuleLimitedValue<std::int32_t>(1, CHECK_GREATER_OR_EQUAL),
                     AddRuleLimitedValue<std::int32_t>(mostClasses, CHECK_LOWER_OR_EQUAL));
    properties.input(algorithm.rangeMode, "Which range of values the classes cover.");
    properties.input(algorithm.rangeMinimum, "The start of the first class, when rangeMode is OTHER.",
                     AddRuleAssertFinite());
    algorithm.rangeMaximum = 256.0;
    properties.input(algorithm.rangeMaximum, "The end of the last class, when rangeMode is OTHER.",
                     AddRuleAssertFinite(),
                     AddRuleWhen("when rangeMode is OTHER", isOther,
                                 AddRuleCompare(CompareRelation::Greater, algorithm.rangeMinimum)));
    properties.onlyWith(algorithm.rangeMode, {IntensityHistogram::OTHER}, algorithm.rangeMinimum,
                        algorithm.rangeMaximum);
    properties.output(algorithm.outputMeasurement, "A row for each class.", AddRuleCreateMeasurement());
}

void process(IntensityHistogram& algorithm, OptimLevelType level) {
    const ImageModel& image = *algorithm.getInputImage();
    access::ExecutionContext& context = algorithm.executionContext();
    const bool measures = algorithm.getRangeMode() == IntensityHistogram::MIN_MAX;
    const access::Steps steps(context, measures ? 2 : 1);
    const GreyRange range = measures ? extremesOf(context, level, image)
                                     : GreyRange{algorithm.getRangeMinimum(), algorithm.getRangeMaximum()};
    const auto classes = range.hasValues() ? static_cast<std::size_t>(algorithm.getNumberOfClasses()) : 0;
    const access::MemoryCharge ofHistogram(classes * sizeof(std::uint64_t));
    math::Histogram histogram(classes, range.minimum, range.maximum);
    if (range.hasValues()) {
        fillHistogram(context, level, image, histogram);
    }
    IntensityHistogramMsr& table = *algorithm.getOutputMeasurement();
    table.classStart.reset(classes);
    table.count.reset(classes);
    for (std::size_t i = 0; i < classes; ++i) {
        table.classStart[i] = histogram.getClassStart(i);
        table.count[i] = static_cast<std::int64_t>(histogram.getCount(i));
    }
}

constexpr algorithms::Definition<IntensityHistogram> definition{
    .summary = "Counts the values of an image in classes of equal width.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory =
        [](const IntensityHistogram& algorithm) {
            const auto classes = static_cast<std::size_t>(algorithm.getNumberOfClasses());
            return classes * sizeof(std::uint64_t) +
                   fillingMemory(*algorithm.getInputImage(), classes, algorithm.getMaximumThreads());
        },
};

}  // namespace

const EnumInfo& IntensityHistogram::getInfoRangeMode() {
    static const EnumInfo info("RangeMode", "MIN_MAX = 0, OTHER");
    return info;
}

RIX_DEFINE_ALGORITHM(IntensityHistogram, definition)

}  // namespace rix::analysis
