// A stranger's algorithm, written against the installed headers alone: 255 - v, with a kernel for each level.

#include <cstddef>
#include <cstdint>
#include <memory>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Inversion.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/PointFilters.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/Plugin.h>

HWY_BEFORE_NAMESPACE();
namespace stranger::HWY_NAMESPACE {

void invertRow(const std::uint8_t* in, std::uint8_t* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint8_t>(255 - in[i]);
    }
}

}  // namespace stranger::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace stranger {

using namespace rix;

class Inversion : public BaseAlgorithm {
    RIX_ALGORITHM(Inversion)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

namespace {

void declare(Inversion& inversion, algorithms::Properties& properties) {
    properties.input(inversion.inputImage, "The image that is inverted.", AddRulesForImageOf({RIX_UINT8}));
    properties.output(inversion.outputImage, "255 less each voxel.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(inversion.inputImage), AddRuleEnforceLike(inversion.inputImage));
}

void process(Inversion& inversion, OptimLevelType level) {
    access::transformRows<std::uint8_t, std::uint8_t>(inversion.executionContext(), *inversion.getInputImage(),
                                                      *inversion.getOutputImage(), 0.1,
                                                      RIX_SELECT_KERNELS(level, invertRow));
}

constexpr algorithms::Definition<Inversion> definition{
    .summary = "Inverts an image of bytes.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .library = "stranger",
};

}  // namespace

RIX_DEFINE_ALGORITHM(Inversion, definition)

}  // namespace stranger

RIX_PLUGIN(rix::PluginRegistrar& registrar) {
    registrar.addClass(stranger::Inversion::getInfo(), "inversions");
}
#endif
