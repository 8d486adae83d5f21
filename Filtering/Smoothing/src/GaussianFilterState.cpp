#include "GaussianFilterState.h"

#include <rix/exceptions/Exception.h>
#include <rix/image/SampleMemory.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/ValueRules.h>

#include "GaussianSums.h"
#include "GaussianTaps.h"

namespace rix::filtering::smoothing {

namespace {

/// A kernel of 10001 taps.
constexpr double largestDeviation = 1000.0;

}  // namespace

GaussianFilterState::GaussianFilterState()
    : lengthUnit(&algorithms::getInfoLengthUnit()),
      borderPolicy(&access::getInfoBorderPolicy()),
      outputType(&algorithms::getInfoOutputType()) {}

void GaussianFilterState::addRules() {
    rix::addRules(inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertIntegerOrFloating(),
                  AddRuleAssertImageNotEmpty());
    for (Property<double>& deviation : deviations) {
        rix::addRules(deviation, AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    }
    rix::addRules(lengthUnit, AddRuleIsAnEnumOfType(algorithms::getInfoLengthUnit()));
    rix::addRules(borderPolicy, AddRuleIsAnEnumOfType(access::getInfoBorderPolicy()));
    rix::addRules(borderValue, AddRuleAssertNotNaN());
    rix::addRules(outputType, AddRuleIsAnEnumOfType(algorithms::getInfoOutputType()));
    rix::addRules(outputImage, AddRuleAssertNotNull());
}

void GaussianFilterState::shapeOutput() {
    static_cast<void>(job());
    const VoxelTypes type = algorithms::voxelTypeOf(static_cast<algorithms::OutputType>(outputType.get()),
                                                    inputImage.get()->getVoxelType());
    ApplyRuleEnforceImage(ImageCheck{type, inputImage, RIX_VALUE})(outputImage);
}

GaussianJob GaussianFilterState::job() const {
    const auto unit = static_cast<algorithms::LengthUnit>(lengthUnit.get());
    GaussianJob job;
    for (std::size_t axis = 0; axis < deviations.size(); ++axis) {
        const double deviation =
            algorithms::lengthInVoxels(deviations[axis], unit, *inputImage.get(), static_cast<Components>(axis));
        if (deviation > largestDeviation) {
            rules::refuse(rules::parameterText(deviations[axis]) + " must be at most " +
                              rules::valueToText(largestDeviation) + " voxels.",
                          "It is " + rules::valueToText(deviation) + " voxels. Reduce the image first.");
        }
        job.deviations[axis] = deviation;
    }
    job.border = static_cast<access::BorderPolicy>(borderPolicy.get());
    job.borderValue = borderValue.get();
    return job;
}

bool GaussianFilterState::isInPlace() const {
    return helper::mayShareSamples(*inputImage.get(), *outputImage.get());
}

AlgorithmDescription GaussianFilterState::describe(std::size_t threads) const {
    AlgorithmDescription description;
    description.kind = AlgorithmKind::Neighbourhood;
    const ImageModel* const input = inputImage.get();
    std::size_t elements = 0;
    if (input == nullptr || !helper::getElementCount(*input, elements) || elements == 0) {
        return description;
    }
    GaussianJob present;
    try {
        for (const Property<double>& deviation : deviations) {
            if (!(deviation.get() >= 0)) {
                return description;
            }
        }
        present = job();
    } catch (const RuleException&) {
        return description;  // a run is refused
    }
    for (std::size_t axis = 0; axis < deviations.size(); ++axis) {
        const std::size_t reach = gaussianReach(present.deviations[axis]);
        description.borderInfluence.lower[axis] = reach;
        description.borderInfluence.upper[axis] = reach;
    }
    const VoxelTypes type =
        algorithms::voxelTypeOf(static_cast<algorithms::OutputType>(outputType.get()), input->getVoxelType());
    description.inPlace = type == input->getVoxelType();
    description.outputs.push_back({"outputImage", type, helper::getExtents(*input)});
    description.extraMemory =
        gaussianWorkingBytes(*input, type, present, outputImage.get() != nullptr && isInPlace(), threads);
    return description;
}

}  // namespace rix::filtering::smoothing
