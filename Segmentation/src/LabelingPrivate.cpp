#include "LabelingPrivate.h"

#include <algorithm>
#include <memory>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/exceptions/Exception.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

#include "labeling/PackPhase.h"

namespace rix::segmentation {

namespace {

/// The image may hold objects: its types are the unsigned integers and the signed ones of 8 and 16 bits.
struct AssertObjectImage {
    static constexpr bool individual = true;

    void apply(const rules::ImageOperand& operand) const {
        const VoxelTypes type = operand.image.getVoxelType();
        if (!isObjectType(type)) {
            rules::refuse(rules::parameterText(operand.property) +
                          " supports only data type(s): uint8, uint16, uint32, int8, int16. Current data type is " +
                          helper::voxelTypesToString(type) +
                          ". Convert the image with ConvertImage, or make a binary image of it by thresholding.");
        }
    }
    String describe() const { return "data type must be uint8, uint16, uint32, int8 or int16"; }
};

/// Whether an image can hold all labels of a type.
bool holdsLabelsOf(VoxelTypes labels, const ImageModel& image) {
    const VoxelTypes type = image.getVoxelType();
    return image.getElementType() == SINGLE && access::contains(access::UnsignedIntegers{}, type) &&
           helper::getSizeOf(type) >= helper::getSizeOf(labels);
}

/// The rule of enumerations with a text of its own.
class RuleIsLabelType : public RuleIsAnEnumOfType<int> {
public:
    explicit RuleIsLabelType(const EnumInfo& info) : RuleIsAnEnumOfType<int>(info) {}

    void apply(Property<int>& property) override {
        try {
            RuleIsAnEnumOfType<int>::apply(property);
        } catch (const RuleException&) {
            rules::refuse("bad value of labelType parameter.",
                          "The value is " + std::to_string(property.get()) + "; it must be " + describe() + '.');
        }
    }
};

}  // namespace

void LabelingPrivate::attachRules() {
    addRules(inputObjectImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
             rules::AddRuleOnImage<AssertObjectImage>(), AddRuleAssertImageNotEmpty());
    labelType.getImpl()->addRule(std::make_shared<RuleIsLabelType>(*labelType.getEnumInfo()));
    addRules(neighborhood, AddRuleIsAnEnumOfType(*neighborhood.getEnumInfo()));
    addRules(outputLabelImage, AddRuleAssertNotNull(), AddRuleCompare(CompareRelation::NotEqual, inputObjectImage),
             AddRuleDisjointFrom(inputObjectImage));
}

void LabelingPrivate::shapeOutput() {
    const ImageModel* const output = outputLabelImage.get();
    VoxelTypes type = labelVoxelTypes[labelType.get()];
    if (output != nullptr && holdsLabelsOf(type, *output) &&
        helper::getExtents(*output) == helper::getExtents(*inputObjectImage.get())) {
        type = output->getVoxelType();
    }
    ApplyRuleEnforceImage(ImageCheck{type, inputObjectImage, RIX_LABEL})(outputLabelImage);
}

VoxelTypes LabelingPrivate::retypeOutput(VoxelTypes needed) {
    const ImageModel& output = *outputLabelImage.get();
    const String before = helper::describeImage(output);
    const auto extents = helper::getExtents(output);
    try {
        RuleEnforceType<ImageModel*>(needed).apply(outputLabelImage);
    } catch (const RuleException& refusal) {
        // An image that lost its samples when there was no memory is empty now.
        if (!holdsLabelsOf(needed, output) || helper::getExtents(output) != extents) {
            ResizeImageError error("The temporary label image cannot be allocated or resized.");
            error.addInfoLevel("The labels need the data type " + helper::voxelTypesToString(needed) +
                               "; the output was " + before + '.');
            if (refusal.isOutOfMemory()) {
                error.addInfoLevel(refusal.getLevels().back().message);
                error.setOutOfMemory();
            }
            throw error;
        }
    }
    return output.getVoxelType();
}

void LabelingPrivate::label(BaseAlgorithm& algorithm, OptimLevelType level, Connectivity connectivity) {
    access::ExecutionContext& context = algorithm.executionContext();
    // One for each attempt with a wider type; no attempt begins anew here, so that most are never taken.
    const access::Steps steps(context, static_cast<std::size_t>(4 - labelType.get()));
    const auto upgraded = [&](int newType) {
        algorithm.setProgressionMessage("[" + algorithm.getClassInfo().getName() + "] upgrade output type to " +
                                        labelType.getEnumInfo()->getLabelFromValue(newType));
    };
    const auto retype = [this](VoxelTypes needed) { return retypeOutput(needed); };
    const std::uint64_t labels = labelObjects({context, level, *inputObjectImage.get(), *outputLabelImage.get(),
                                               connectivity, labelType.get(), tuning, upgraded, retype, visitRun});
    // A run that is iterated over the sequence comes here once an index.
    numberOfLabels = std::max(numberOfLabels, labels);
}

AlgorithmDescription LabelingPrivate::describe(Connectivity connectivity, std::size_t threads) const {
    AlgorithmDescription description;
    description.kind = AlgorithmKind::Labeling;
    description.extraMemoryIsExact = false;  // it depends on the number of runs
    const ImageModel* const input = inputObjectImage.get();
    const int type = labelType.get();
    if (input != nullptr && labelType.getEnumInfo()->exists(type)) {
        description.outputs.push_back({"outputLabelImage", labelVoxelTypes[type], helper::getExtents(*input)});
        description.extraMemory = labelingMemory(*input, connectivity, threads);
    }
    return description;
}

}  // namespace rix::segmentation
