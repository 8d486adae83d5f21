#include <rix/filtering/smoothing/BoxFilter2d.h>

#include <rix/algorithms/AlgorithmClass.h>

#include "BoxFilterRunners.h"
#include "BoxFilterState.h"

namespace rix::filtering::smoothing {

const EnumInfo& BoxFilter2d::getInfoAutoScaleType() {
    return infoAutoScaleType();
}

AlgoInfo& BoxFilter2d::getInfo() {
    return algorithms::classRecord<BoxFilter2d>("BoxFilter2d", &addBoxFilter2dRunners);
}

std::shared_ptr<BoxFilter2d> BoxFilter2d::New() {
    return std::make_shared<BoxFilter2d>();
}

BoxFilter2d::BoxFilter2d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<BoxFilterState>(given)) {
    auto& state = static_cast<BoxFilterState&>(*implementation());
    addInput(state.inputImage, "inputImage", "The image whose voxels are summed.");
    addInput(state.kernelSizeX, "kernelSizeX", "Columns of the window, in voxels.");
    addInput(state.kernelSizeY, "kernelSizeY", "Rows of the window, in voxels.");
    addInput(state.autoScale, "autoScale", "YES: the mean of the window, in the input's type. NO: the sum.");
    addOutput(state.outputImage, "outputImage", "The sums or means.");
    state.addRules(BoxFilterState::Window::Rectangle);
}

AlgoInfo& BoxFilter2d::getClassInfo() const {
    return getInfo();
}

void BoxFilter2d::applyAllRules() {
    BaseAlgorithm::applyAllRules();
    static_cast<BoxFilterState&>(*implementation()).shapeOutput();
}

AlgorithmDescription BoxFilter2d::describe() const {
    AlgorithmDescription description = BoxFilterState::of(*this).describe(getMaximumThreads());
    description.summary = "Sum or mean of the voxels in a rectangle around each voxel.";
    return description;
}

}  // namespace rix::filtering::smoothing
