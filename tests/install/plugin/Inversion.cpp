// A stranger's algorithm, written against the installed headers alone: 255 - v, with a kernel for each level.

#include <cstddef>
#include <cstdint>
#include <memory>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Inversion.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/PointFilters.h>
#include <rix/algorithms/AlgorithmClass.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/algorithms/Plugin.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

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
namespace {

using namespace rix;

class Inversion : public BaseAlgorithm {
public:
    struct State : algorithms::AbstractPrivateImplementation {
        Property<const ImageModel*> inputImage;
        Property<ImageModel*> outputImage;
    };

    static AlgoInfo& getInfo() {
        static AlgoInfo info(
            "Inversion", "stranger",
            [](algorithms::AbstractPrivateImplementation* given) -> std::unique_ptr<BaseAlgorithm> {
                return std::make_unique<Inversion>(given);
            },
            AlgoVisibilityType::PUBLIC_ALGORITHM, "");
        static const bool filled = [] {
            algorithms::addLevelRunners<Inversion, &Inversion::process, &algorithms::acceptsAll<Inversion>>(info);
            return true;
        }();
        static_cast<void>(filled);
        return info;
    }

    explicit Inversion(algorithms::AbstractPrivateImplementation* given)
        : BaseAlgorithm(algorithms::orMake<State>(given)) {
        auto& state = static_cast<State&>(*implementation());
        addInput(state.inputImage, "inputImage", "The image that is inverted.");
        addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertType({RIX_UINT8}),
                 AddRuleAssertImageNotEmpty());
        addOutput(state.outputImage, "outputImage", "255 less each voxel.");
        addRules(state.outputImage, AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(state.inputImage),
                 AddRuleEnforceSameSizeCalibrationAndType(state.inputImage));
    }
    AlgoInfo& getClassInfo() const override { return getInfo(); }
    AlgorithmDescription describe() const override {
        AlgorithmDescription description;
        description.summary = "Inverts an image of bytes.";
        description.kind = AlgorithmKind::Point;
        return description;
    }

private:
    static void process(Inversion& algorithm, OptimLevelType level) {
        access::transformRows<std::uint8_t, std::uint8_t>(
            algorithm.executionContext(), *algorithm.input<const ImageModel*>(0), *algorithm.output<ImageModel*>(0),
            0.1, RIX_SELECT_KERNELS(level, invertRow));
    }
};

}  // namespace
}  // namespace stranger

RIX_PLUGIN(rix::PluginRegistrar& registrar) {
    registrar.addClass(stranger::Inversion::getInfo(), "inversions");
}
#endif
