// Both unsharp masks: that of planes and that of volumes.

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include <rix/access/RoundedCast.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/filtering/smoothing/UnsharpMask2d.h>
#include <rix/filtering/smoothing/UnsharpMask3d.h>

#include "GaussianRows.h"
#include "GaussianSums.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
GaussianJob jobOf(const Filter& filter) {
    return roundJobOf(filter, std::is_same_v<Filter, UnsharpMask3d>);
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is sharpened.", AddRulesForRealImage());
    declareDeviation(properties, filter.standardDeviation, 1.0);
    filter.amount = 1.0;
    properties.input(filter.amount, "How much of the difference from the smoothed image is added.",
                     AddRuleAssertFinite());
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.output(filter.outputImage, "The sharpened image.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(filter.inputImage),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE}));
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    ImageModel& output = *filter.getOutputImage();
    const double amount = filter.getAmount();
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const GaussianJob job = jobOf(filter);
        const access::Steps steps(context, {10.0, 1.0});
        access::TemporaryImage smooth(output, gaussianWorkType(input.getVoxelType(), job));
        smoothGaussian(context, input, smooth.image(), job, false, level);
        access::dispatch(access::Floatings{}, smooth.image().getVoxelType(), access::Reals{}, output.getVoxelType(),
                         [&](auto tagT, auto tagOut) {
                             using T = typename decltype(tagT)::type;
                             using Out = typename decltype(tagOut)::type;
                             combineRows<Out>(
                                 context, output,
                                 [amount](const T* in, const T* mean, Out* out, std::size_t count) {
                                     for (std::size_t x = 0; x < count; ++x) {
                                         const double value = in[x];
                                         out[x] = access::roundedSample<Out>(
                                             value + amount * (value - static_cast<double>(mean[x])));
                                     }
                                 },
                                 ReadAs<T>{input}, ReadAs<T>{smooth.image()});
                         });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const GaussianJob job = jobOf(filter);
    const VoxelTypes workType = gaussianWorkType(input.getVoxelType(), job);
    const std::size_t threads = filter.getMaximumThreads();
    return access::TemporaryImage::bytes(input, workType) +
           std::max(gaussianWorkingBytes(input, workType, job, false, threads),
                    convertedRowBytes(input, workType, threads));
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
            [](const Filter& filter) {
                return gaussianInfluence(*filter.getInputImage(),
                                         gaussianWorkType(filter.getInputImage()->getVoxelType(), jobOf(filter)),
                                         jobOf(filter));
            },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes = definitionOf<UnsharpMask2d>("Sharpens each plane: adds what a Gaussian takes away.");
constexpr auto ofVolumes = definitionOf<UnsharpMask3d>("Sharpens each volume: adds what a Gaussian takes away.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(UnsharpMask2d, algorithms::InputMeaning, ofPlanes)
RIX_DEFINE_ALGORITHM_WITH(UnsharpMask3d, algorithms::InputMeaning, ofVolumes)

}  // namespace rix::filtering::smoothing
