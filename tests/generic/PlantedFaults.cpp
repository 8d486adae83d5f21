#include "PlantedFaults.h"

#include <numeric>
#include <vector>

#include <rix/access/BlockScheduler.h>
#include <rix/access/BorderConditions.h>
#include <rix/access/Joins.h>
#include <rix/access/WindowFilters.h>
#include <rix/algorithms/AlgorithmClass.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/ValueRules.h>

#include "Storages.h"

namespace rix::test::planted {

namespace {

using access::Block;
using access::BoxNeeds;
using access::ExecutionContext;
using access::Plan;
using access::RowSegment;
using access::RowWriter;
using access::WindowRows;

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

const BoxNeeds windowWork{access::reachOfWindow(3, 3, 1), 100.0, sizeof(double)};

void meanOfWindows(WindowRows<double>& window, const RowSegment& segment, double* out) {
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
    access::transformWindows<double, double>(context, input, *access::MirrorBorderCondition<double>::New(), output,
                                             windowWork, meanOfWindows);
}

void filterWindowsOfACopy(ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    const io::MemoryImage copy = copyOf(input);
    filterWindows(context, copy, output);
}

void filterBlocksAsImages(ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    const auto border = access::MirrorBorderCondition<double>::New();
    const Plan plan = access::cutBoxes({&input}, {&output}, windowWork);
    access::run(context, plan, [&](const Block& block) {
        std::vector<std::size_t> first;
        std::vector<std::size_t> extents;
        Block own;
        for (std::size_t axis = 0; axis < block.axes.size(); ++axis) {
            first.push_back(block.axes[axis].begin);
            extents.push_back(block.axes[axis].length());
            own.axes[axis] = {0, extents.back()};
        }
        const ImageModelSizeProxy part(&input, first, extents);
        WindowRows<double> window(part, border.get(), own, windowWork.reach);
        RowWriter<double> out(output);
        plan.forEachSegment(block, [&](const RowSegment& segment) {
            const RowSegment inPart{{0, segment.row - block.rows().begin, segment.plane - block.planes().begin},
                                    segment.count};
            meanOfWindows(window, inPart, out.open(segment));
            out.flush();
        });
    });
}

// Points --------------------------------------------------------------------------------------------------------------

template <bool losesRows>
void copyRows(ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    const Plan plan = access::cutBoxes({&input}, {&output}, {access::Reach(), 100.0});
    access::run(context, plan, [&](const Block& block) {
        access::RowReader<double> in(input);
        RowWriter<double> out(output);
        plan.forEachSegment(block, [&](const RowSegment& segment) {
            if (losesRows && segment.row + 1 == block.rows().end && block.rows().end < input.getNumOf(ROWS)) {
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
double addHundredths(double sum, const double* samples, std::size_t count) {
    return std::accumulate(samples, samples + count, sum, [](double all, double sample) { return all + sample / 100; });
}

double sumLeaves(ExecutionContext& context, const ImageModel& image) {
    return access::reduceLeaves<double, double>(
        context, image, 100.0,
        [](double& sum, const double* samples, std::size_t count, std::size_t /*index*/) {
            sum = addHundredths(sum, samples, count);
        },
        [](double& left, double right) { left += right; });
}

double sumBlocks(ExecutionContext& context, const ImageModel& image) {
    const Plan plan = access::cutBoxes({&image}, {}, {access::Reach(), 100.0});
    std::vector<double> sums(plan.blockCount());
    access::run(context, plan, [&](const Block& block) {
        access::RowReader<double> in(image);
        plan.forEachSegment(block, [&](const RowSegment& segment) {
            sums[block.index] = addHundredths(sums[block.index], in.read(segment), segment.count);
        });
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
AlgoInfo& sumOfLeaves() {
    return Sum<&sumLeaves>::getInfo();
}
AlgoInfo& sumOfBlocks() {
    return Sum<&sumBlocks>::getInfo();
}

}  // namespace rix::test::planted
