#include "PlantedFaults.h"
#include "Testing.h"

#include <rix/access/BorderConditions.h>
#include <rix/access/WindowFilters.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/Definition.h>

namespace rix::test::planted {

namespace {

using access::Block;
using access::BoxNeeds;
using access::ExecutionContext;
using access::Plan;
using access::RowSegment;
using access::RowWriter;
using access::WindowRows;

/// An algorithm from an image to another one of the same kind.
template <void (*process)(ExecutionContext&, const ImageModel&, ImageModel&)>
class Filter : public BaseAlgorithm {
public:
    explicit Filter(algorithms::AbstractPrivateImplementation* given)
        : BaseAlgorithm(algorithms::detail::orMake<algorithms::NoState>(given)) {
        algorithms::detail::declare(*this, definition);
    }
    static AlgoInfo& getInfo() { return algorithms::detail::recordOf<Filter>("PlantedFilter", definition); }
    AlgoInfo& getClassInfo() const override { return getInfo(); }

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)

private:
    static constexpr algorithms::Definition<Filter> definition{
        .summary = "",
        .kind = AlgorithmKind::Neighbourhood,
        .declare =
            [](Filter& filter, algorithms::Properties& properties) {
                properties.input(filter.inputImage, "The image that is read.", AddRulesForRealImage());
                properties.output(filter.outputImage, "The result.", AddRuleAssertNotNull(),
                                  AddRuleEnforceLike(filter.inputImage));
            },
        .process =
            [](Filter& filter, OptimLevelType) {
                process(filter.executionContext(), *filter.getInputImage(), *filter.getOutputImage());
            },
    };
};

/// An algorithm from an image to a number.
template <double (*process)(ExecutionContext&, const ImageModel&)>
class Sum : public BaseAlgorithm {
public:
    explicit Sum(algorithms::AbstractPrivateImplementation* given)
        : BaseAlgorithm(algorithms::detail::orMake<algorithms::NoState>(given)) {
        algorithms::detail::declare(*this, definition);
    }
    static AlgoInfo& getInfo() { return algorithms::detail::recordOf<Sum>("PlantedSum", definition); }
    AlgoInfo& getClassInfo() const override { return getInfo(); }

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_OUTPUT(double, OutputSum, outputSum)

private:
    static void run(Sum& sum, OptimLevelType /*level*/) {
        const double result = process(sum.executionContext(), *sum.getInputImage());
        // Every property is locked during a run, so that nobody changes it; the run itself may.
        sum.outputSum.getImpl()->lock(false);
        sum.outputSum = result;
        sum.outputSum.getImpl()->lock(true);
    }

    static constexpr algorithms::Definition<Sum> definition{
        .summary = "",
        .kind = AlgorithmKind::Reduction,
        .declare =
            [](Sum& sum, algorithms::Properties& properties) {
                properties.input(sum.inputImage, "The image that is summed.", AddRulesForRealImage());
                properties.output(sum.outputSum, "The sum of all samples, each one hundredth of itself.");
            },
        .process = &run,
    };
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

void copyRowsButTheLast(ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    const Plan plan = access::cutBoxes({&input}, {&output}, {access::Reach(), 100.0});
    access::run(context, plan, [&](const Block& block) {
        access::RowReader<double> in(input);
        RowWriter<double> out(output);
        plan.forEachSegment(block, [&](const RowSegment& segment) {
            if (segment.row + 1 == block.rows().end && block.rows().end < input.getNumOf(ROWS)) {
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

AlgoInfo& windowMeanOfBlocks() {
    return Filter<&filterBlocksAsImages>::getInfo();
}
AlgoInfo& windowMeanOnSharedSamples() {
    return Filter<&filterWindows>::getInfo();
}
AlgoInfo& copyOfRowsButTheLast() {
    return Filter<&copyRowsButTheLast>::getInfo();
}
AlgoInfo& sumOfBlocks() {
    return Sum<&sumBlocks>::getInfo();
}

}  // namespace rix::test::planted
