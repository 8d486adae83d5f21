#include <rix/point_operations/MaskImage.h>

#include <optional>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ScopedRule.h>
#include <rix/rules/ValueRules.h>

#include <rix/access/Pieces.h>
#include "PointRunners.h"

namespace rix::point_operations {

namespace {

struct MaskImagePrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage;
    Property<const ImageModel*> inputBinaryImage;
    Property<ImageModel*> outputImage;
};

}  // namespace

AlgoInfo& MaskImage::getInfo() {
    return algorithms::classRecord<MaskImage>("MaskImage", &addMaskImageRunners);
}

std::shared_ptr<MaskImage> MaskImage::New() {
    return std::make_shared<MaskImage>();
}

MaskImage::MaskImage(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<MaskImagePrivate>(given)) {
    auto& state = static_cast<MaskImagePrivate&>(*implementation());
    addInput(state.inputImage, "inputImage", "The image whose voxels are kept or cleared.");
    addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertIntegerOrFloating(),
             AddRuleAssertImageNotEmpty());
    addInput(state.inputBinaryImage, "inputBinaryImage", "The mask: a voxel is kept where it is not 0.");
    addRules(state.inputBinaryImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
             AddRuleAssertType({RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16}), AddRuleAssertSameSize(state.inputImage));
    addOutput(state.outputImage, "outputImage", "The image, 0 outside the mask.");
    addRules(state.outputImage, AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(state.inputImage),
             AddRuleInPlaceOrDisjoint(state.inputBinaryImage));
}

AlgoInfo& MaskImage::getClassInfo() const {
    return getInfo();
}

void MaskImage::applyAllRules() {
    auto& state = static_cast<MaskImagePrivate&>(*implementation());
    const ImageModel* const image = getInputImage();
    const ImageModel* const mask = getInputBinaryImage();
    std::optional<ScopedRule> notTheMask;
    std::optional<ScopedRule> likeTheInput;
    if (image != nullptr && mask != nullptr) {
        if (mask->getVoxelType() != image->getVoxelType()) {
            notTheMask.emplace(state.outputImage, AddRuleCompare(CompareRelation::NotEqual, state.inputBinaryImage));
        }
        likeTheInput.emplace(state.outputImage, AddRuleEnforceImage(ImageCheck{image->getVoxelType(), state.inputImage,
                                                                               image->getInterpretation()}));
    }
    BaseAlgorithm::applyAllRules();
}

AlgorithmDescription MaskImage::describe() const {
    AlgorithmDescription description;
    description.summary = "Keeps the voxels of an image inside a mask and clears the others.";
    description.kind = AlgorithmKind::Point;
    description.inPlace = true;
    description.extraMemory = access::pieceMemory(getMaximumThreads());
    if (const ImageModel* const image = getInputImage(); image != nullptr) {
        description.outputs.push_back({"outputImage", image->getVoxelType(), helper::getExtents(*image)});
    }
    return description;
}

}  // namespace rix::point_operations
