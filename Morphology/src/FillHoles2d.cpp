#include <rix/morphology/FillHoles2d.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/algorithms/LevelRunner.h>

#include "FillHolesState.h"

namespace rix::morphology {

namespace {

constexpr std::size_t axes = 2;

/// The background is connected as the objects are not.
bool backgroundHasCorners(const FillHolesState& state) {
    return state.neighborhood.get() == static_cast<int>(FillHoles2d::Neighborhood2DType::CONNECTIVITY_4);
}

void process(FillHoles2d& algorithm, OptimLevelType /*level*/) {
    const FillHolesState& state = FillHolesState::of(algorithm);
    state.fill(algorithm.executionContext(), {axes, backgroundHasCorners(state)});
}

void addRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<FillHoles2d, &process, &algorithms::acceptsAll<FillHoles2d>>(info);
}

}  // namespace

AlgoInfo& FillHoles2d::getInfo() {
    return algorithms::classRecord<FillHoles2d>("FillHoles2d", &addRunners);
}

std::shared_ptr<FillHoles2d> FillHoles2d::New() {
    return std::make_shared<FillHoles2d>();
}

FillHoles2d::FillHoles2d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<FillHolesState2d>(given)) {
    auto& state = static_cast<FillHolesState&>(*implementation());
    state.neighborhood = static_cast<int>(Neighborhood2DType::CONNECTIVITY_8);
    addInput(state.inputImage, "inputImage", "The image whose holes are filled.");
    addInput(state.neighborhood, "neighborhood", "Which voxels of an object touch; holes are connected the other way.");
    addOutput(state.outputImage, "outputImage", "The image without holes.");
    state.addRules();
}

AlgoInfo& FillHoles2d::getClassInfo() const {
    return getInfo();
}

void FillHoles2d::applyAllRules() {
    BaseAlgorithm::applyAllRules();
    static_cast<FillHolesState&>(*implementation()).shapeOutput();
}

AlgorithmDescription FillHoles2d::describe() const {
    const FillHolesState& state = FillHolesState::of(*this);
    AlgorithmDescription description = state.describe({axes, backgroundHasCorners(state)}, getMaximumThreads());
    description.summary = "Fills the holes of the objects of each plane.";
    return description;
}

}  // namespace rix::morphology
