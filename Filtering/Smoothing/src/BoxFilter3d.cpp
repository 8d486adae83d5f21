#include <rix/filtering/smoothing/BoxFilter3d.h>

#include <rix/algorithms/AlgorithmClass.h>

#include "BoxFilterRunners.h"
#include "BoxFilterState.h"

namespace rix::filtering::smoothing {

const EnumInfo& BoxFilter3d::getInfoAutoScaleType() {
    return infoAutoScaleType();
}

AlgoInfo& BoxFilter3d::getInfo() {
    return algorithms::classRecord<BoxFilter3d>("BoxFilter3d", &addBoxFilter3dRunners);
}

std::shared_ptr<BoxFilter3d> BoxFilter3d::New() {
    return std::make_shared<BoxFilter3d>();
}

BoxFilter3d::BoxFilter3d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<BoxFilterState>(given)) {
    auto& state = static_cast<BoxFilterState&>(*implementation());
    addInput(state.inputImage, "inputImage", "The image whose voxels are summed.");
    addInput(state.kernelSizeX, "kernelSizeX", "Columns of the window, in voxels.");
    addInput(state.kernelSizeY, "kernelSizeY", "Rows of the window, in voxels.");
    addInput(state.kernelSizeZ, "kernelSizeZ", "Planes of the window, in voxels.");
    addInput(state.autoScale, "autoScale", "YES: the mean of the window, in the input's type. NO: the sum.");
    addOutput(state.outputImage, "outputImage", "The sums or means.");
    state.addRules(BoxFilterState::Window::Box);
}

AlgoInfo& BoxFilter3d::getClassInfo() const {
    return getInfo();
}

void BoxFilter3d::applyAllRules() {
    BaseAlgorithm::applyAllRules();
    static_cast<BoxFilterState&>(*implementation()).shapeOutput();
}

AlgorithmDescription BoxFilter3d::describe() const {
    AlgorithmDescription description = BoxFilterState::of(*this).describe(getMaximumThreads());
    description.summary = "Sum or mean of the voxels in a box around each voxel.";
    return description;
}

}  // namespace rix::filtering::smoothing
