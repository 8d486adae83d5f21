#include <rix/morphology/FillHoles3d.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/algorithms/LevelRunner.h>

#include "FillHolesState.h"

namespace rix::morphology {

namespace {

constexpr std::size_t axes = 3;

/// The background is connected as the objects are not.
bool backgroundHasCorners(const FillHolesState& state) {
    return state.neighborhood.get() == static_cast<int>(FillHoles3d::Neighborhood3DType::CONNECTIVITY_6);
}

void process(FillHoles3d& algorithm, OptimLevelType /*level*/) {
    const FillHolesState& state = FillHolesState::of(algorithm);
    state.fill(algorithm.executionContext(), {axes, backgroundHasCorners(state)});
}

void addRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<FillHoles3d, &process, &algorithms::acceptsAll<FillHoles3d>>(info);
}

}  // namespace

AlgoInfo& FillHoles3d::getInfo() {
    return algorithms::classRecord<FillHoles3d>("FillHoles3d", &addRunners);
}

std::shared_ptr<FillHoles3d> FillHoles3d::New() {
    return std::make_shared<FillHoles3d>();
}

FillHoles3d::FillHoles3d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<FillHolesState3d>(given)) {
    auto& state = static_cast<FillHolesState&>(*implementation());
    state.neighborhood = static_cast<int>(Neighborhood3DType::CONNECTIVITY_26);
    addInput(state.inputImage, "inputImage", "The image whose holes are filled.");
    addInput(state.neighborhood, "neighborhood", "Which voxels of an object touch; holes are connected the other way.");
    addOutput(state.outputImage, "outputImage", "The image without holes.");
    state.addRules();
}

AlgoInfo& FillHoles3d::getClassInfo() const {
    return getInfo();
}

void FillHoles3d::applyAllRules() {
    BaseAlgorithm::applyAllRules();
    static_cast<FillHolesState&>(*implementation()).shapeOutput();
}

AlgorithmDescription FillHoles3d::describe() const {
    const FillHolesState& state = FillHolesState::of(*this);
    AlgorithmDescription description = state.describe({axes, backgroundHasCorners(state)}, getMaximumThreads());
    description.summary = "Fills the holes of the objects of each volume.";
    return description;
}

}  // namespace rix::morphology
