// Both local normalisations: that of planes and that of volumes.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/filtering/smoothing/LocalNormalization2d.h>
#include <rix/filtering/smoothing/LocalNormalization3d.h>

#include "GaussianRows.h"
#include "GaussianSums.h"

namespace rix::filtering::smoothing {

namespace {

/// Part of the mean square that a variance has to exceed: below it may be nothing but rounding.
constexpr double leastVariance = 1e-12;

template <class Filter>
GaussianJob jobOf(const Filter& filter) {
    GaussianJob job = roundJobOf(filter, std::is_same_v<Filter, LocalNormalization3d>);
    job.inDoubles = true;
    return job;
}

/// Of the squares: beyond the edges there are squares, too.
GaussianJob squaredJob(GaussianJob job) {
    job.borderValue *= job.borderValue;
    return job;
}

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    return filter.getInputImage()->getVoxelType() == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is normalised.", AddRulesForRealImage());
    declareDeviation(properties, filter.standardDeviation, 2.0);
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.output(filter.outputImage, "The normalised image.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(filter.inputImage),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE,
                                                             .chosenType = [&filter] { return outputType(filter); }}));
}

template <class Out>
void normalize(access::ExecutionContext& context, const ImageModel& input, const ImageModel& means,
               const ImageModel& squares, ImageModel& output) {
    combineRows<Out>(
        context, output,
        [](const double* values, const double* mean, const double* square, Out* results, std::size_t count) {
            for (std::size_t x = 0; x < count; ++x) {
                const double variance = square[x] - mean[x] * mean[x];
                const double deviation = std::sqrt(variance > 0.0 ? variance : 0.0);
                const double quotient = (values[x] - mean[x]) / deviation;
                // NaN stays: only a comparison that holds makes a 0.
                results[x] = static_cast<Out>(variance <= leastVariance * square[x] ? 0.0 : quotient);
            }
        },
        ReadAs<double>{input}, ReadAs<double>{means}, ReadAs<double>{squares});
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    ImageModel& output = *filter.getOutputImage();
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const GaussianJob job = jobOf(filter);
        const access::Steps steps(context, {1.0, 10.0, 10.0, 1.0});
        access::TemporaryImage first(output, RIX_FLOAT64);
        access::TemporaryImage squares(output, RIX_FLOAT64);
        access::transformRows<double, double>(context, input, first.image(), nanosecondsPerCombination,
                                              [](const double* in, double* out, std::size_t count) {
                                                  for (std::size_t x = 0; x < count; ++x) {
                                                      out[x] = in[x] * in[x];
                                                  }
                                              });
        smoothGaussian(context, first.image(), squares.image(), squaredJob(job), false, level);
        smoothGaussian(context, input, first.image(), job, false, level);
        if (output.getVoxelType() == RIX_FLOAT64) {
            normalize<double>(context, input, first.image(), squares.image(), output);
        } else {
            normalize<float>(context, input, first.image(), squares.image(), output);
        }
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const GaussianJob job = jobOf(filter);
    const std::size_t threads = filter.getMaximumThreads();
    return 2 * access::TemporaryImage::bytes(input, RIX_FLOAT64) +
           std::max({gaussianWorkingBytesInDoubles(input, job, threads),
                     gaussianWorkingBytes(input, RIX_FLOAT64, job, false, threads),
                     convertedRowBytes(input, RIX_FLOAT64, threads)});
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence =
            [](const Filter& filter) { return gaussianInfluence(*filter.getInputImage(), RIX_FLOAT64, jobOf(filter)); },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes =
    definitionOf<LocalNormalization2d>("Brings each plane to the same mean and contrast everywhere.");
constexpr auto ofVolumes =
    definitionOf<LocalNormalization3d>("Brings each volume to the same mean and contrast everywhere.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(LocalNormalization2d, algorithms::InputMeaning, ofPlanes)
RIX_DEFINE_ALGORITHM_WITH(LocalNormalization3d, algorithms::InputMeaning, ofVolumes)

}  // namespace rix::filtering::smoothing
