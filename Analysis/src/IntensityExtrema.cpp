#include <rix/analysis/IntensityExtrema.h>

#include <limits>

#include <rix/access/Joins.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>

#include "Extrema.h"

namespace rix::analysis {

namespace {

/// Rough cost of the scalar kernels, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.2;

void declare(IntensityExtrema& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose extreme values are searched.", AddRulesForRealImage());
    properties.output(algorithm.outputMeasurement, "The extreme values and the numbers of special values.",
                      AddRuleCreateMeasurement());
}

void process(IntensityExtrema& algorithm, OptimLevelType level) {
    publish(measureExtrema(algorithm.executionContext(), level, *algorithm.getInputImage()),
            *algorithm.getOutputMeasurement());
}

constexpr algorithms::Definition<IntensityExtrema> definition{
    .summary = "Finds the smallest and the greatest value of an image.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM(IntensityExtrema, definition)

Extrema measureExtrema(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image) {
    Extrema joined;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const ExtremaRow<T> extremaRow = extremaRows<T>(level);
        access::accumulate<T, Extrema>(
            context, image, nanosecondsPerVoxel, [] { return std::make_unique<Extrema>(); },
            [&](Extrema& partial, const T* row, std::size_t count) { extremaRow(row, count, partial); },
            [&](const Extrema& partial) {
                joined.minimum = partial.minimum < joined.minimum ? partial.minimum : joined.minimum;
                joined.maximum = partial.maximum > joined.maximum ? partial.maximum : joined.maximum;
                joined.nanCount += partial.nanCount;
                joined.infiniteCount += partial.infiniteCount;
            });
    });
    return joined;
}

void publish(const Extrema& extrema, IntensityExtremaMsr& measurement) {
    const bool any = extrema.hasFiniteValue();
    const auto setReal = [any](measurement::MeasurementArray<double>& array, double value) {
        array.reset(1);
        // Of the two zeros, which one is met first is chance; adding 0 makes both +0.
        array[0] = any ? value + 0.0 : std::numeric_limits<double>::quiet_NaN();
    };
    const auto setCount = [](measurement::MeasurementArray<std::int64_t>& array, std::uint64_t count) {
        array.reset(1);
        array[0] = static_cast<std::int64_t>(count);
    };
    setReal(measurement.minimum, extrema.minimum);
    setReal(measurement.maximum, extrema.maximum);
    setCount(measurement.nanCount, extrema.nanCount);
    setCount(measurement.infiniteCount, extrema.infiniteCount);
}

}  // namespace rix::analysis
