#include <rix/segmentation/Labeling2d.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/properties/EnumInfo.h>

#include "LabelingPrivate.h"

namespace rix::segmentation {

namespace {

Labeling2dPrivate& stateOf(algorithms::AbstractPrivateImplementation* implementation) {
    return static_cast<Labeling2dPrivate&>(*implementation);
}

Connectivity connectivityOf(int neighborhood) {
    return neighborhood == Labeling2d::CONNECTIVITY_4 ? Connectivity::Edges : Connectivity::EdgesCorners;
}

}  // namespace

const EnumInfo& Labeling2d::getInfoLabelType() {
    static const EnumInfo info("LabelType", "LABEL_8_BIT = 0, LABEL_16_BIT, LABEL_32_BIT");
    return info;
}

const EnumInfo& Labeling2d::getInfoNeighborhood2DType() {
    static const EnumInfo info("Neighborhood2DType", "CONNECTIVITY_4 = 0, CONNECTIVITY_8");
    return info;
}

/// The body's way to the private part.
struct Labeling2dAccess {
    static void process(Labeling2d& algorithm, OptimLevelType level) {
        auto& state = stateOf(algorithm.implementation());
        state.label(algorithm, level, connectivityOf(state.neighborhood.get()));
    }
    static void addRunners(AlgoInfo& info) {
        algorithms::addLevelRunners<Labeling2d, &process, &algorithms::acceptsAll<Labeling2d>>(info);
    }
};

AlgoInfo& Labeling2d::getInfo() {
    return algorithms::classRecord<Labeling2d>("Labeling2d", &Labeling2dAccess::addRunners);
}

std::shared_ptr<Labeling2d> Labeling2d::New() {
    return std::make_shared<Labeling2d>();
}

Labeling2d::Labeling2d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<Labeling2dPrivate>(given)) {
    auto& state = stateOf(implementation());
    addInput(state.inputObjectImage, "inputObjectImage",
             "The image whose objects, the voxels that are not 0, are numbered.");
    addInput(state.labelType, "labelType", "The type of the labels; a wider one is taken when they do not fit.");
    addInput(state.neighborhood, "neighborhood", "Which voxels of an object touch.");
    addOutput(state.outputLabelImage, "outputLabelImage", "The number of the object that a voxel belongs to, or 0.");
    state.attachRules();
}

AlgoInfo& Labeling2d::getClassInfo() const {
    return getInfo();
}

void Labeling2d::applyAllRules() {
    auto& state = stateOf(implementation());
    state.numberOfLabels = 0;
    BaseAlgorithm::applyAllRules();
    state.shapeOutput();
}

AlgorithmDescription Labeling2d::describe() const {
    const auto& state = stateOf(implementation());
    AlgorithmDescription description = state.describe(connectivityOf(state.neighborhood.get()), getMaximumThreads());
    description.summary = "Numbers the connected sets of non-zero voxels of every plane.";
    return description;
}

std::uint64_t Labeling2d::getNumberOfLabels() const {
    return stateOf(implementation()).numberOfLabels;
}

}  // namespace rix::segmentation
