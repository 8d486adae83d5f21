#include "IntensityExtremaRunners.h"

#include <limits>

#include <rix/access/PointBlocks.h>
#include <rix/access/Rows.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/analysis/IntensityExtrema.h>

#include "PartialResults.h"

namespace rix::analysis {

namespace {

/// Rough cost of the scalar kernels, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.2;

void process(IntensityExtrema& algorithm, OptimLevelType level) {
    publish(measureExtrema(algorithm.executionContext(), level, *algorithm.getInputImage()),
            *algorithm.getOutputMeasurement());
}

}  // namespace

Extrema measureExtrema(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image) {
    const access::PointPlan plan({&image}, nanosecondsPerVoxel);
    PartialResults<Extrema> partials;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const ExtremaRow<T> extremaRow = extremaRows<T>(level);
        access::forEachBlock(context, plan, [&](const access::PointBlock& block) {
            auto partial = partials.take([] { return std::make_unique<Extrema>(); });
            access::RowReader<T> in(image, plan);
            plan.forEachSegment(block, [&](const access::RowSegment& segment) {
                extremaRow(in.read(segment), segment.count, *partial);
            });
            partials.give(std::move(partial));
        });
    });
    Extrema joined;
    for (const auto& partial : partials.all()) {
        joined.minimum = partial->minimum < joined.minimum ? partial->minimum : joined.minimum;
        joined.maximum = partial->maximum > joined.maximum ? partial->maximum : joined.maximum;
        joined.nanCount += partial->nanCount;
        joined.infiniteCount += partial->infiniteCount;
    }
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

void addIntensityExtremaRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<IntensityExtrema, &process, &algorithms::acceptsAll<IntensityExtrema>>(info);
}

}  // namespace rix::analysis
