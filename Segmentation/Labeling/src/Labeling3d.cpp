#include <rix/segmentation/Labeling3d.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/properties/EnumInfo.h>

#include "LabelingPrivate.h"

namespace rix::segmentation {

namespace {

Labeling3dPrivate& stateOf(algorithms::AbstractPrivateImplementation* implementation) {
    return static_cast<Labeling3dPrivate&>(*implementation);
}

Connectivity connectivityOf(int neighborhood) {
    switch (neighborhood) {
        case Labeling3d::CONNECTIVITY_6: return Connectivity::Faces;
        case Labeling3d::CONNECTIVITY_18: return Connectivity::FacesEdges;
        default: return Connectivity::FacesEdgesCorners;
    }
}

}  // namespace

const EnumInfo& Labeling3d::getInfoLabelType() {
    static const EnumInfo info("LabelType", "LABEL_8_BIT = 0, LABEL_16_BIT, LABEL_32_BIT");
    return info;
}

const EnumInfo& Labeling3d::getInfoNeighborhood3DType() {
    static const EnumInfo info("Neighborhood3DType", "CONNECTIVITY_6 = 0, CONNECTIVITY_18, CONNECTIVITY_26");
    return info;
}

/// The body's way to the private part.
struct Labeling3dAccess {
    static void process(Labeling3d& algorithm, OptimLevelType level) {
        auto& state = stateOf(algorithm.implementation());
        state.label(algorithm, level, connectivityOf(state.neighborhood.get()));
    }
    static void addRunners(AlgoInfo& info) {
        algorithms::addLevelRunners<Labeling3d, &process, &algorithms::acceptsAll<Labeling3d>>(info);
    }
};

AlgoInfo& Labeling3d::getInfo() {
    return algorithms::classRecord<Labeling3d>("Labeling3d", &Labeling3dAccess::addRunners);
}

std::shared_ptr<Labeling3d> Labeling3d::New() {
    return std::make_shared<Labeling3d>();
}

Labeling3d::Labeling3d(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<Labeling3dPrivate>(given)) {
    auto& state = stateOf(implementation());
    addInput(state.inputObjectImage, "inputObjectImage",
             "The image whose objects, the voxels that are not 0, are numbered.");
    addInput(state.labelType, "labelType", "The type of the labels; a wider one is taken when they do not fit.");
    addInput(state.neighborhood, "neighborhood", "Which voxels of an object touch.");
    addOutput(state.outputLabelImage, "outputLabelImage", "The number of the object that a voxel belongs to, or 0.");
    state.attachRules();
}

AlgoInfo& Labeling3d::getClassInfo() const {
    return getInfo();
}

void Labeling3d::applyAllRules() {
    auto& state = stateOf(implementation());
    state.numberOfLabels = 0;
    BaseAlgorithm::applyAllRules();
    state.shapeOutput();
}

AlgorithmDescription Labeling3d::describe() const {
    const auto& state = stateOf(implementation());
    AlgorithmDescription description = state.describe(connectivityOf(state.neighborhood.get()), getMaximumThreads());
    description.summary = "Numbers the connected sets of non-zero voxels of every volume.";
    return description;
}

std::uint64_t Labeling3d::getNumberOfLabels() const {
    return stateOf(implementation()).numberOfLabels;
}

}  // namespace rix::segmentation
