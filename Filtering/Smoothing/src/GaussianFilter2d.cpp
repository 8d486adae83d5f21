#include <rix/filtering/smoothing/GaussianFilter2d.h>

#include <rix/algorithms/AlgorithmClass.h>

#include "GaussianFilterRunners.h"
#include "GaussianFilterState.h"

namespace rix::filtering::smoothing {

AlgoInfo& GaussianFilter2d::getInfo() {
    return algorithms::classRecord<GaussianFilter2d>("GaussianFilter2d", &addGaussianFilter2dRunners);
}

std::shared_ptr<GaussianFilter2d> GaussianFilter2d::New() {
    return std::make_shared<GaussianFilter2d>();
}

GaussianFilter2d::GaussianFilter2d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<GaussianFilterState>(given)) {
    auto& state = static_cast<GaussianFilterState&>(*implementation());
    addInput(state.inputImage, "inputImage", "The image that is smoothed.");
    state.deviations[0] = 1.0;
    addInput(state.deviations[0], "standardDeviationX", "Width of the Gaussian across columns; 0: not smoothed.");
    state.deviations[1] = 1.0;
    addInput(state.deviations[1], "standardDeviationY", "Width of the Gaussian across rows; 0: not smoothed.");
    addInput(state.lengthUnit, "lengthUnit", "Whether the standard deviations are in voxels or in the image's unit.");
    addInput(state.borderPolicy, "borderPolicy", "What lies beyond the edges of the image.");
    addInput(state.borderValue, "borderValue", "The value beyond the edges when borderPolicy is FIXED.");
    addInput(state.outputType, "outputType", "The type of the result.");
    addOutput(state.outputImage, "outputImage", "The smoothed image.");
    state.addRules();
}

AlgoInfo& GaussianFilter2d::getClassInfo() const {
    return getInfo();
}

void GaussianFilter2d::applyAllRules() {
    BaseAlgorithm::applyAllRules();
    static_cast<GaussianFilterState&>(*implementation()).shapeOutput();
}

AlgorithmDescription GaussianFilter2d::describe() const {
    AlgorithmDescription description = GaussianFilterState::of(*this).describe(getMaximumThreads());
    description.summary = "Smooths each plane with a Gaussian.";
    return description;
}

}  // namespace rix::filtering::smoothing
