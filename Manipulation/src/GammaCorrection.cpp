#include <rix/manipulation/GammaCorrection.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>

#include "MathKernels.h"
#include "PointFunction.h"

namespace rix::manipulation {

namespace {

constexpr double nanosecondsPerVoxel = 15.0;

void declare(GammaCorrection& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose grey values are bent.", AddRulesForRealImage());
    algorithm.gamma = 1.0;
    properties.input(algorithm.gamma, "The exponent: below 1 brightens dark parts, above 1 darkens them.",
                     AddRuleAssertPositiveOnly(), AddRuleAssertFinite());
    properties.output(algorithm.outputImage, "The bent grey values.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage),
                      AddRuleEnforceLike(algorithm.inputImage, {.interpretation = RIX_VALUE}));
}

void process(GammaCorrection& algorithm, OptimLevelType level) {
    const ImageModel& input = *algorithm.getInputImage();
    const bool binary = algorithms::wasBinary(algorithm);
    double scale = 1.0;
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_integral_v<T>) {
            scale = binary ? 1.0 : static_cast<double>(std::numeric_limits<T>::max());
        }
    });
    const double gamma = algorithm.getGamma();
    const auto rows = [&]<class T>(const T* in, T* out, std::size_t count) {
        powerRow<T>(level)(in, out, count, scale, gamma);
    };
    applyFunction(algorithm, input, binary, *algorithm.getOutputImage(), level, nanosecondsPerVoxel, rows);
}

constexpr algorithms::Definition<GammaCorrection> definition{
    .summary = "Brightens or darkens grey values by a power of them.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<GammaCorrection>,
    .memory = &pointMemory<GammaCorrection>,
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(GammaCorrection, algorithms::InputMeaning, definition)

}  // namespace rix::manipulation
