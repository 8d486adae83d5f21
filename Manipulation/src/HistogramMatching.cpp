#include <rix/manipulation/HistogramMatching.h>

#include <algorithm>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>

#include "GreyMap.h"
#include "NumberImage.h"
#include "PointFunction.h"

namespace rix::manipulation {

namespace {

constexpr std::size_t classes = 65535;

struct MatchingState : algorithms::InputMeaning {
    bool isReferenceBinary = false;
};

void declare(HistogramMatching& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose grey values are changed.", AddRulesForRealImage());
    properties.input(algorithm.inputReferenceImage, "The image whose distribution is wanted.", AddRulesForRealImage());
    properties.output(algorithm.outputImage, "The image with the distribution of the reference.",
                      AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage),
                      AddRuleDisjointFrom(algorithm.inputReferenceImage),
                      AddRuleEnforceLike(algorithm.inputImage, {.interpretation = RIX_VALUE}));
}

/// Grey values in ascending order, with the share of voxels up to each.
struct Shares {
    access::CountedVector<double> values;
    access::CountedVector<double> shares;

    /// The value at a share, linear between those that are known.
    double valueAt(double share) const {
        const auto above = std::lower_bound(shares.begin(), shares.end(), share);
        if (above == shares.begin()) {
            return values.front();
        }
        if (above == shares.end()) {
            return values.back();
        }
        const auto i = static_cast<std::size_t>(above - shares.begin());
        const double way = (share - shares[i - 1]) / (shares[i] - shares[i - 1]);
        return values[i - 1] * (1.0 - way) + values[i] * way;
    }
};

/// Of values those that occur, or all; of classes their ends.
Shares sharesOf(const GreyDistribution& distribution, bool onlyWhatOccurs) {
    Shares result;
    std::uint64_t total = 0;
    for (const std::uint64_t count : distribution.counts) {
        total += count;
    }
    result.values.reserve(distribution.counts.size() + 1);
    result.shares.reserve(distribution.counts.size() + 1);
    const double first = distribution.range.minimum;
    const double last = distribution.range.maximum;
    if (!distribution.isOfValues) {
        result.values.push_back(first);
        result.shares.push_back(0.0);
    }
    std::uint64_t below = 0;
    for (std::size_t i = 0; i < distribution.counts.size(); ++i) {
        below += distribution.counts[i];
        if (onlyWhatOccurs && distribution.isOfValues && distribution.counts[i] == 0) {
            continue;
        }
        const double way = static_cast<double>(i + 1) / static_cast<double>(distribution.counts.size());
        result.values.push_back(distribution.isOfValues ? first + static_cast<double>(i)
                                                        : first * (1.0 - way) + last * way);
        result.shares.push_back(static_cast<double>(below) / static_cast<double>(total));
    }
    return result;
}

GreyMap matchingMap(const GreyDistribution& input, const GreyDistribution& reference) {
    const Shares wanted = sharesOf(reference, true);
    Shares present = sharesOf(input, false);
    for (double& share : present.shares) {
        share = wanted.valueAt(share);
    }
    return {input.range.minimum, input.range.maximum, std::move(present.shares)};
}

void process(HistogramMatching& algorithm, OptimLevelType level) {
    const auto& state = algorithms::stateOf<MatchingState>(algorithm);
    access::ExecutionContext& context = algorithm.executionContext();
    const access::Steps steps(context, 5);
    const auto measure = [&](const ImageModel& image) { return distributionOf(context, level, image, classes); };
    const NumberImage numbers(algorithm, *algorithm.getInputImage(), algorithms::wasBinary(algorithm), level);
    const GreyDistribution input = measure(numbers.image());
    GreyDistribution reference;
    {
        const NumberImage numbersOfReference(algorithm, *algorithm.getInputReferenceImage(), state.isReferenceBinary,
                                             level);
        reference = measure(numbersOfReference.image());
    }
    if (input.counts.empty() || reference.counts.empty()) {
        const auto copy = []<class T>(const T* in, T* out, std::size_t count) {
            std::copy_n(in, in == out ? 0 : count, out);
        };
        applyFunction(algorithm, numbers.image(), false, *algorithm.getOutputImage(), level, 0.3, copy);
        return;
    }
    applyMap(algorithm, numbers.image(), matchingMap(input, reference), *algorithm.getOutputImage(), level);
}

std::size_t memoryOf(const HistogramMatching& algorithm) {
    const ImageModel& input = *algorithm.getInputImage();
    const ImageModel& reference = *algorithm.getInputReferenceImage();
    const std::size_t threads = algorithm.getMaximumThreads();
    const auto entriesOf = [](const ImageModel& image) {
        const VoxelTypes type = image.getVoxelType();
        return analysis::hasValueCounts(type) ? std::size_t{1} << (8 * helper::getSizeOf(type)) : classes + 1;
    };
    // Counts, values and shares of both.
    const std::size_t tables = 3 * sizeof(double) * (entriesOf(input) + entriesOf(reference));
    return NumberImage::memory(input, isBinary(&input)) + NumberImage::memory(reference, isBinary(&reference)) +
           std::max(entriesOf(input) * sizeof(double) + std::max(distributionMemory(input, classes, threads),
                                                                 distributionMemory(reference, classes, threads)),
                    tables + functionMemory(threads));
}

constexpr algorithms::Definition<HistogramMatching> definition{
    .summary = "Gives an image the distribution of the grey values of another one.",
    .kind = AlgorithmKind::Composite,
    .declare = &declare,
    .process = &process,
    .prepare =
        [](HistogramMatching& algorithm) {
            algorithms::rememberMeaning(algorithm);
            algorithms::stateOf<MatchingState>(algorithm).isReferenceBinary =
                isBinary(algorithm.getInputReferenceImage());
        },
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(HistogramMatching, MatchingState, definition)

}  // namespace rix::manipulation
