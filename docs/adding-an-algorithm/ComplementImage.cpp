#include "ComplementImage.h"

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

#include "ComplementImageRunners.h"

namespace rix::point_operations {

namespace {

struct ComplementImagePrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage;
    Property<ImageModel*> outputImage;
};

}  // namespace

ComplementImage::ComplementImage(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<ComplementImagePrivate>(given)) {
    auto& state = static_cast<ComplementImagePrivate&>(*implementation());
    addInput(state.inputImage, "inputImage", "The image whose voxels are complemented.");
    addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
             AddRuleAssertType({RIX_UINT8, RIX_UINT16, RIX_UINT32}), AddRuleAssertImageNotEmpty());
    addOutput(state.outputImage, "outputImage", "The complements.");
    addRules(state.outputImage, AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(state.inputImage),
             AddRuleEnforceSameSizeCalibrationAndType(state.inputImage));
}

std::shared_ptr<ComplementImage> ComplementImage::New() {
    return std::make_shared<ComplementImage>();
}

AlgoInfo& ComplementImage::getInfo() {
    return algorithms::classRecord<ComplementImage>("ComplementImage", &addComplementImageRunners);
}

AlgoInfo& ComplementImage::getClassInfo() const {
    return getInfo();
}

AlgorithmDescription ComplementImage::describe() const {
    AlgorithmDescription description;
    description.summary = "Replaces every voxel by its complement, the largest value of the type minus the voxel.";
    description.kind = AlgorithmKind::Point;
    description.inPlace = true;
    if (const ImageModel* const image = getInputImage(); image != nullptr) {
        description.outputs.push_back({"outputImage", image->getVoxelType(), helper::getExtents(*image)});
    }
    return description;
}

}  // namespace rix::point_operations
