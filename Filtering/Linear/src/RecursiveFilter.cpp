#include <rix/filtering/linear/RecursiveFilter.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include <rix/access/LineBundles.h>
#include <rix/access/Scratch.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/properties/EnumInfo.h>

#include "WeightedSums.h"

namespace rix::filtering::linear {

namespace {

using access::Scratch;

constexpr std::size_t mostInList = 1024;
constexpr double nanosecondsPerProduct = 0.2;

class RuleRecursiveKernel : public Rules<Property<kernel::RecursiveKernel1D>> {
public:
    using ValueType = kernel::RecursiveKernel1D;
    bool isIndividual() const override { return true; }
    void apply(Property<kernel::RecursiveKernel1D>& property) override {
        const kernel::RecursiveKernel1D& kernel = property.get();
        if (kernel.causal.empty() && kernel.anticausal.empty()) {
            rules::refuse(rules::parameterText(property) + " must have causal or anticausal coefficients.");
        }
        for (const std::vector<double>* const list : {&kernel.causal, &kernel.anticausal, &kernel.feedback}) {
            if (list->size() > mostInList) {
                rules::refuse(rules::parameterText(property) + " must have at most " + std::to_string(mostInList) +
                              " coefficients in a list.");
            }
            if (!std::all_of(list->begin(), list->end(), [](double value) { return std::isfinite(value); })) {
                rules::refuse(rules::parameterText(property) + " must have finite coefficients.");
            }
        }
    }
    String describe() const override { return "must have causal or anticausal coefficients, all finite"; }
};

void declare(RecursiveFilter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is filtered.", AddRulesForRealImage());
    filter.kernel = kernel::RecursiveKernel1D{{1.0 / 3.0}, {1.0 / 6.0}, {-0.5}};
    properties.input(filter.kernel, "The coefficients of both passes.", rules::RuleAdder<RuleRecursiveKernel>());
    properties.input(filter.axis, "The axis along which lines are filtered.");
    properties.output(
        filter.outputImage, "The filtered image.", AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(filter.inputImage),
        AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE, .chosenType = [&filter] {
                                                   return filter.getInputImage()->getVoxelType() == RIX_FLOAT64
                                                              ? RIX_FLOAT64
                                                              : RIX_FLOAT32;
                                               }}));
}

double sumOf(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

/// One pass: the products that make an element, of samples and of results so far. Distances are counted against the
/// direction of the pass.
struct Pass {
    /// @param first the distance of the first weight of samples
    Pass(const std::vector<double>& ofSamples, std::size_t first, const std::vector<double>& feedback) {
        const auto add = [](const std::vector<double>& from, std::size_t nearest, double sign,
                            std::vector<std::int64_t>& distances, std::vector<double>& to) {
            for (std::size_t k = 0; k < from.size(); ++k) {
                if (from[k] != 0.0) {
                    distances.push_back(static_cast<std::int64_t>(k + nearest));
                    to.push_back(sign * from[k]);
                }
            }
        };
        add(ofSamples, first, 1.0, samples, weights);
        add(feedback, 1, -1.0, results, weights);
        const double divisor = 1.0 + sumOf(feedback);
        gain = divisor != 0.0 ? sumOf(ofSamples) / divisor : 0.0;
        history = feedback.size();
    }

    std::vector<std::int64_t> samples;  ///< distances
    std::vector<std::int64_t> results;
    std::vector<double> weights;  ///< of the samples, then of the results
    double gain = 0.0;            ///< of a line that never changes
    std::size_t history = 0;      ///< results that are looked back at
};

class RecursiveLines {
public:
    RecursiveLines(const kernel::RecursiveKernel1D& kernel, OptimLevelType level)
        : m_upward(kernel.causal, 0, kernel.feedback),
          m_downward(kernel.anticausal, 1, kernel.feedback),
          m_sum(weightedSum<double>(level)) {}

    std::size_t products() const { return m_upward.weights.size() + m_downward.weights.size(); }
    /// Bytes of a bundle beside its own.
    std::size_t bytes(std::size_t length, std::size_t width) const {
        const std::size_t row = width * sizeof(double);
        return Scratch::held(length * row) + Scratch::held((m_upward.history + 2) * row) + Scratch::held(row) +
               Scratch::held(products() * sizeof(const double*));
    }

    void operator()(access::Bundle<double>& bundle, access::BlockProgress& progress) const {
        const std::size_t width = bundle.paddedWidth();
        const std::size_t length = bundle.length();
        const Scratch sums(length * width * sizeof(double));
        const Scratch ring((m_upward.history + 2) * width * sizeof(double));
        const Scratch steady(width * sizeof(double));
        const Scratch pointers(products() * sizeof(const double*));
        const Work work{bundle, ring.as<double>(), steady.as<double>(), pointers.as<const double*>()};
        auto* const totals = sums.as<double>();
        run(work, m_upward, false, [&](std::size_t i, const double* row) {
            std::copy_n(row, width, totals + i * width);
            progress.add(bundle.width() / 2);
        });
        if (!m_downward.samples.empty()) {
            run(work, m_downward, true, [&](std::size_t i, const double* row) {
                for (std::size_t x = 0; x < width; ++x) {
                    totals[i * width + x] += row[x];
                }
                progress.add(bundle.width() / 2);
            });
        }
        for (std::size_t i = 0; i < length; ++i) {
            std::copy_n(totals + i * width, width, bundle.row(static_cast<std::int64_t>(i)));
        }
    }

private:
    struct Work {
        const access::Bundle<double>& bundle;
        double* ring;  ///< of the last results
        double* steady;
        const double** rows;
    };

    /// @param use is given each element of the lines, in the direction of the pass, and the row of its results
    template <class Use>
    void run(const Work& work, const Pass& pass, bool isDownward, const Use& use) const {
        const std::size_t width = work.bundle.paddedWidth();
        const auto length = static_cast<std::int64_t>(work.bundle.length());
        const auto sampleRow = [&](std::int64_t step) {
            const std::int64_t element = std::max<std::int64_t>(step, 0);
            return work.bundle.row(isDownward ? length - 1 - element : element);
        };
        const auto slots = static_cast<std::int64_t>(pass.history + 1);
        const double* const first = sampleRow(0);
        for (std::size_t x = 0; x < width; ++x) {
            work.steady[x] = pass.gain * first[x];
        }
        for (std::int64_t step = 0; step < length; ++step) {
            std::size_t count = 0;
            for (const std::int64_t distance : pass.samples) {
                work.rows[count++] = sampleRow(step - distance);
            }
            for (const std::int64_t distance : pass.results) {
                const std::int64_t at = step - distance;
                work.rows[count++] = at < 0 ? work.steady : work.ring + at % slots * static_cast<std::int64_t>(width);
            }
            double* const result = work.ring + step % slots * static_cast<std::int64_t>(width);
            m_sum(work.rows, pass.weights.data(), count, result, 0, width);
            use(static_cast<std::size_t>(isDownward ? length - 1 - step : step), result);
        }
    }

    Pass m_upward;
    Pass m_downward;
    WeightedSum<double> m_sum;
};

Components axisOf(const RecursiveFilter& filter) {
    return static_cast<Components>(filter.getAxis());
}

access::BundleNeeds needsOf(const RecursiveLines& lines) {
    access::BundleNeeds needs;
    needs.nanosecondsPerVoxel = 2.0 + nanosecondsPerProduct * static_cast<double>(lines.products());
    return needs;
}

void process(RecursiveFilter& filter, OptimLevelType level) {
    const RecursiveLines lines(filter.getKernel(), level);
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        access::forEachBundle<double>(filter.executionContext(), input, *filter.getOutputImage(), axisOf(filter),
                                      needsOf(lines), lines);
    });
}

std::size_t memoryOf(const RecursiveFilter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const RecursiveLines lines(filter.getKernel(), SCALAR);
    const access::BundleNeeds needs = needsOf(lines);
    const Components axis = axisOf(filter);
    const access::Plan plan = access::cutBundles(input, input, axis, sizeof(double), needs);
    const std::size_t threads = filter.getMaximumThreads();
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    const std::size_t width = access::widestBundle(plan, axis, sizeof(double));
    return access::bundleMemory(input, axis, sizeof(double), needs, threads) +
           atOnce * lines.bytes(plan.largestPart(axis), width);
}

/// All of the line before a voxel, and all behind it.
access::Reach reachOf(const RecursiveFilter& filter) {
    const std::size_t length = filter.getInputImage()->getNumOf(axisOf(filter));
    access::Reach reach;
    const access::Reach::Axis whole{length - 1, length - 1};
    switch (filter.getAxis()) {
        case RecursiveFilter::COLUMNS: reach.columns = whole; break;
        case RecursiveFilter::ROWS: reach.rows = whole; break;
        case RecursiveFilter::PLANS: reach.planes = whole; break;
    }
    return reach;
}

constexpr algorithms::Definition<RecursiveFilter> definition{
    .summary = "Filters each line along an axis recursively, from both ends.",
    .kind = AlgorithmKind::Neighbourhood,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<RecursiveFilter>,
    .influence = &reachOf,
    .memory = &memoryOf,
};

}  // namespace

const EnumInfo& RecursiveFilter::getInfoAxis() {
    static const EnumInfo info("Axis", "COLUMNS = 0, ROWS, PLANS");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(RecursiveFilter, algorithms::InputMeaning, definition)

}  // namespace rix::filtering::linear
