#include <rix/filtering/smoothing/GaussianFilter3d.h>

#include <rix/algorithms/AlgorithmClass.h>

#include "GaussianFilterRunners.h"
#include "GaussianFilterState.h"

namespace rix::filtering::smoothing {

AlgoInfo& GaussianFilter3d::getInfo() {
    return algorithms::classRecord<GaussianFilter3d>("GaussianFilter3d", &addGaussianFilter3dRunners);
}

std::shared_ptr<GaussianFilter3d> GaussianFilter3d::New() {
    return std::make_shared<GaussianFilter3d>();
}

GaussianFilter3d::GaussianFilter3d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<GaussianFilterState>(given)) {
    auto& state = static_cast<GaussianFilterState&>(*implementation());
    addInput(state.inputImage, "inputImage", "The image that is smoothed.");
    state.deviations[0] = 1.0;
    addInput(state.deviations[0], "standardDeviationX", "Width of the Gaussian across columns; 0: not smoothed.");
    state.deviations[1] = 1.0;
    addInput(state.deviations[1], "standardDeviationY", "Width of the Gaussian across rows; 0: not smoothed.");
    state.deviations[2] = 1.0;
    addInput(state.deviations[2], "standardDeviationZ", "Width of the Gaussian across planes; 0: not smoothed.");
    addInput(state.lengthUnit, "lengthUnit", "Whether the standard deviations are in voxels or in the image's unit.");
    addInput(state.borderPolicy, "borderPolicy", "What lies beyond the edges of the image.");
    addInput(state.borderValue, "borderValue", "The value beyond the edges when borderPolicy is FIXED.");
    addInput(state.outputType, "outputType", "The type of the result.");
    addOutput(state.outputImage, "outputImage", "The smoothed image.");
    state.addRules();
}

AlgoInfo& GaussianFilter3d::getClassInfo() const {
    return getInfo();
}

void GaussianFilter3d::applyAllRules() {
    BaseAlgorithm::applyAllRules();
    static_cast<GaussianFilterState&>(*implementation()).shapeOutput();
}

AlgorithmDescription GaussianFilter3d::describe() const {
    AlgorithmDescription description = GaussianFilterState::of(*this).describe(getMaximumThreads());
    description.summary = "Smooths each volume with a Gaussian.";
    return description;
}

}  // namespace rix::filtering::smoothing
