#include <rix/analysis/IntensityExtrema.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ValueRules.h>

#include "IntensityExtremaRunners.h"

namespace rix::analysis {

namespace {

struct IntensityExtremaPrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage;
    PropertyMeasurement<IntensityExtremaMsr> outputMeasurement;
};

}  // namespace

AlgoInfo& IntensityExtrema::getInfo() {
    return algorithms::classRecord<IntensityExtrema>("IntensityExtrema", &addIntensityExtremaRunners);
}

std::shared_ptr<IntensityExtrema> IntensityExtrema::New() {
    return std::make_shared<IntensityExtrema>();
}

IntensityExtrema::IntensityExtrema(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<IntensityExtremaPrivate>(given)) {
    auto& state = static_cast<IntensityExtremaPrivate&>(*implementation());
    addInput(state.inputImage, "inputImage", "The image whose extreme values are searched.");
    addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertIntegerOrFloating(),
             AddRuleAssertImageNotEmpty());
    addOutput(state.outputMeasurement, "outputMeasurement", "The extreme values and the numbers of special values.");
    addRules(state.outputMeasurement, AddRuleCreateMeasurement());
}

AlgoInfo& IntensityExtrema::getClassInfo() const {
    return getInfo();
}

AlgorithmDescription IntensityExtrema::describe() const {
    AlgorithmDescription description;
    description.summary = "Finds the smallest and the greatest value of an image.";
    description.kind = AlgorithmKind::Reduction;
    return description;
}

}  // namespace rix::analysis
