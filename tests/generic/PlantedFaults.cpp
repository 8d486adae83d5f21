#include "PlantedFaults.h"

#include <numeric>

#include <rix/access/BlockScheduler.h>
#include <rix/access/BorderConditions.h>
#include <rix/access/NeighbourhoodFilters.h>
#include <rix/access/PointFilters.h>
#include <rix/algorithms/AlgorithmClass.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/ValueRules.h>

#include "Storages.h"

namespace rix::test::planted {

namespace {

using access::ExecutionContext;
using access::Interval;
using access::NeighbourhoodBlock;
using access::NeighbourhoodPlan;
using access::NeighbourhoodWork;
using access::RowCache;
using access::RowSegment;
using access::RowWriter;

struct FilterState : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage;
    Property<ImageModel*> outputImage;
};

/// An algorithm from an image to another one of the same kind.
template <void (*process)(ExecutionContext&, const ImageModel&, ImageModel&)>
class Filter : public BaseAlgorithm {
public:
    explicit Filter(algorithms::AbstractPrivateImplementation* given)
        : BaseAlgorithm(algorithms::orMake<FilterState>(given)) {
        auto& state = static_cast<FilterState&>(*implementation());
        addInput(state.inputImage, "inputImage", "The image that is read.");
        addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
                 AddRuleAssertIntegerOrFloating(), AddRuleAssertImageNotEmpty());
        addOutput(state.outputImage, "outputImage", "The result.");
        addRules(state.outputImage, AddRuleAssertNotNull(), AddRuleEnforceSameSizeCalibrationAndType(state.inputImage));
    }
    static AlgoInfo& getInfo() { return algorithms::classRecord<Filter>("PlantedFilter", &addRunners); }
    AlgoInfo& getClassInfo() const override { return getInfo(); }

private:
    static void run(Filter& filter, OptimLevelType /*level*/) {
        auto& state = static_cast<FilterState&>(*filter.implementation());
        process(filter.executionContext(), *state.inputImage.get(), *state.outputImage.get());
    }
    static void addRunners(AlgoInfo& info) {
        info.addRunner(
            std::make_shared<algorithms::LevelRunner<Filter, SCALAR, &run, &algorithms::acceptsAll<Filter>>>());
    }
};

struct SumState : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage;
    Property<double> outputSum;
};

/// An algorithm from an image to a number.
template <double (*process)(ExecutionContext&, const ImageModel&)>
class Sum : public BaseAlgorithm {
public:
    explicit Sum(algorithms::AbstractPrivateImplementation* given)
        : BaseAlgorithm(algorithms::orMake<SumState>(given)) {
        auto& state = static_cast<SumState&>(*implementation());
        addInput(state.inputImage, "inputImage", "The image that is summed.");
        addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
                 AddRuleAssertIntegerOrFloating(), AddRuleAssertImageNotEmpty());
        addOutput(state.outputSum, "outputSum", "The sum of all samples, each one hundredth of itself.");
    }
    static AlgoInfo& getInfo() { return algorithms::classRecord<Sum>("PlantedSum", &addRunners); }
    AlgoInfo& getClassInfo() const override { return getInfo(); }

private:
    static void run(Sum& sum, OptimLevelType /*level*/) {
        auto& state = static_cast<SumState&>(*sum.implementation());
        const double result = process(sum.executionContext(), *state.inputImage.get());
        // Every property is locked during a run, so that nobody changes it; the run itself may.
        state.outputSum.getImpl()->lock(false);
        state.outputSum = result;
        state.outputSum.getImpl()->lock(true);
    }
    static void addRunners(AlgoInfo& info) {
        info.addRunner(std::make_shared<algorithms::LevelRunner<Sum, SCALAR, &run, &algorithms::acceptsAll<Sum>>>());
    }
};

// Windows -------------------------------------------------------------------------------------------------------------

constexpr NeighbourhoodWork windowWork{access::reachOfWindow(3, 3, 1), 100.0, sizeof(double)};

void meanOfWindows(RowCache<double>& window, const RowSegment& segment, double* out) {
    const auto row = static_cast<std::int64_t>(segment.row);
    const auto plane = static_cast<std::int64_t>(segment.plane);
    std::fill_n(out, segment.count, 0.0);
    for (const std::int64_t y : {row - 1, row, row + 1}) {
        const double* const in = window.row(y, plane);
        for (std::size_t i = 0; i < segment.count; ++i) {
            out[i] += (in[static_cast<std::ptrdiff_t>(i) - 1] / 9 + in[i] / 9) + in[i + 1] / 9;
        }
    }
}

void filterWindows(ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    access::transformNeighbourhoods<double, double>(context, input, *access::MirrorBorderCondition<double>::New(),
                                                    output, windowWork, meanOfWindows);
}

void filterWindowsOfACopy(ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    const io::MemoryImage copy = copyOf(input);
    filterWindows(context, copy, output);
}

void filterBlocksAsImages(ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    const auto border = access::MirrorBorderCondition<double>::New();
    const NeighbourhoodPlan plan({&input}, {&output}, windowWork);
    access::forEachBlock(context, plan, [&](const NeighbourhoodBlock& block) {
        const auto length = [](const Interval& interval) { return interval.end - interval.begin; };
        const ImageModelSizeProxy part(
            &input, {block.columns.begin, block.rows.begin, block.planes.begin, block.sequence, block.spectral},
            {length(block.columns), length(block.rows), length(block.planes), 1, 1});
        const NeighbourhoodBlock all{
            {0, length(block.columns)}, {0, length(block.rows)}, {0, length(block.planes)}, 0, 0};
        RowCache<double> window(part, *border, all, plan.reach());
        RowWriter<double> out(output);
        block.forEachSegment([&](const RowSegment& segment) {
            const RowSegment own{
                0, segment.row - block.rows.begin, segment.plane - block.planes.begin, 0, 0, segment.count};
            meanOfWindows(window, own, out.open(segment));
            out.flush();
        });
    });
}

// Points --------------------------------------------------------------------------------------------------------------

template <bool losesRows>
void copyRows(ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    const NeighbourhoodPlan plan({&input}, {&output}, {access::Reach(), 100.0});
    access::forEachBlock(context, plan, [&](const NeighbourhoodBlock& block) {
        access::RowReader<double> in(input);
        RowWriter<double> out(output);
        block.forEachSegment([&](const RowSegment& segment) {
            if (losesRows && segment.row + 1 == block.rows.end && block.rows.end < input.getNumOf(ROWS)) {
                return;
            }
            const double* const samples = in.read(segment);
            std::copy_n(samples, segment.count, out.open(segment));
            out.flush();
        });
    });
}

// Sums ----------------------------------------------------------------------------------------------------------------

/// Hundredths are no sums of powers of two: nearly every sum of them is rounded.
double sumOfRow(access::RowReader<double>& in, const RowSegment& segment) {
    const double* const samples = in.read(segment);
    return std::accumulate(samples, samples + segment.count, 0.0,
                           [](double sum, double sample) { return sum + sample / 100; });
}

class RowSum : public access::ReductionBody {
public:
    explicit RowSum(const ImageModel& image) : m_image(image) {}
    std::unique_ptr<ReductionBody> split() const override { return std::make_unique<RowSum>(m_image); }
    void process(std::size_t first, std::size_t last) override {
        const auto n = helper::getExtents(m_image);
        access::RowReader<double> in(m_image);
        for (std::size_t line = first; line < last; ++line) {
            const std::size_t frame = line / n[ROWS] / n[PLANS];
            m_sum += sumOfRow(in, {0, line % n[ROWS], line / n[ROWS] % n[PLANS], frame % n[SEQUENCE],
                                   frame / n[SEQUENCE], n[COLUMNS]});
        }
    }
    void join(ReductionBody& right) override { m_sum += static_cast<RowSum&>(right).m_sum; }
    double sum() const { return m_sum; }

private:
    const ImageModel& m_image;
    double m_sum = 0.0;
};

double sumRows(ExecutionContext& context, const ImageModel& image) {
    const auto n = helper::getExtents(image);
    RowSum sum(image);
    context.scheduler().reduce(n[ROWS] * n[PLANS] * n[SEQUENCE] * n[SPECTRAL_SERIES], 1, sum);
    return sum.sum();
}

double sumBlocks(ExecutionContext& context, const ImageModel& image) {
    const NeighbourhoodPlan plan({&image}, {}, {access::Reach(), 100.0});
    std::vector<double> sums(plan.blockCount());
    context.startStep(static_cast<double>(plan.voxelCount()));
    context.scheduler().forEach(sums.size(), [&](std::size_t i) {
        access::RowReader<double> in(image);
        plan.block(i).forEachSegment([&](const RowSegment& segment) { sums[i] += sumOfRow(in, segment); });
    });
    return std::accumulate(sums.begin(), sums.end(), 0.0);
}

}  // namespace

AlgoInfo& windowMean() {
    return Filter<&filterWindowsOfACopy>::getInfo();
}
AlgoInfo& windowMeanOfBlocks() {
    return Filter<&filterBlocksAsImages>::getInfo();
}
AlgoInfo& windowMeanOnSharedSamples() {
    return Filter<&filterWindows>::getInfo();
}
AlgoInfo& copyOfRows() {
    return Filter<&copyRows<false>>::getInfo();
}
AlgoInfo& copyOfRowsButTheLast() {
    return Filter<&copyRows<true>>::getInfo();
}
AlgoInfo& sumByHalving() {
    return Sum<&sumRows>::getInfo();
}
AlgoInfo& sumOfBlocks() {
    return Sum<&sumBlocks>::getInfo();
}

}  // namespace rix::test::planted
