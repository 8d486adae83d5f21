// Both labelings: that of planes and that of volumes. Their enumerations of label types are the same.

#include <algorithm>
#include <memory>
#include <string>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/CompareRules.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>
#include <rix/settings/Settings.h>

#include "LabelingState.h"
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

/// Attaches the rule of label types.
struct AddRuleIsLabelType {
    void operator()(PropertySingleChoice& property) const {
        property.getImpl()->addRule(std::make_shared<RuleIsLabelType>(*property.getEnumInfo()));
    }
};

/// The type that the output takes before the labels are counted. A wider one than the one asked for stays until then:
/// the output may be a view, whose type never changes.
template <class Labeling>
VoxelTypes typeAtFirst(const Labeling& labeling) {
    const VoxelTypes asked = labelVoxelTypes[labeling.getLabelType()];
    const ImageModel* const output = labeling.getOutputLabelImage();
    const bool stays = output != nullptr && holdsLabelsOf(asked, *output) &&
                       helper::getExtents(*output) == helper::getExtents(*labeling.getInputObjectImage());
    return stays ? output->getVoxelType() : asked;
}

LabelScope scopeOf(const Labeling2d& /*labeling*/) {
    return LabelScope::Plane;
}

LabelScope scopeOf(const Labeling3d& /*labeling*/) {
    return LabelScope::Volume;
}

template <class Labeling>
void declare(Labeling& labeling, algorithms::Properties& properties) {
    properties.input(labeling.inputObjectImage, "The image whose objects, the voxels that are not 0, are numbered.",
                     AddRuleAssertNotNull(), AddRuleAssertSingleElement(), rules::AddRuleOnImage<AssertObjectImage>(),
                     AddRuleAssertImageNotEmpty());
    properties.choice(
        labeling.labelType,
        "The type of the labels; a wider one is taken when they do not fit. For ragged shapes that depends on "
        "the number of processors, or on the setting RIX_LABEL_TYPE_PROCESSORS.",
        AddRuleIsLabelType());
    properties.input(labeling.neighborhood, "Which voxels of an object touch.");
    properties.output(
        labeling.outputLabelImage,
        "The number of the object that a voxel belongs to, or 0; every plane (2d) or volume (3d) counts from 1.",
        AddRuleAssertNotNull(), AddRuleCompare(CompareRelation::NotEqual, labeling.inputObjectImage),
        AddRuleDisjointFrom(labeling.inputObjectImage),
        AddRuleEnforceLike(labeling.inputObjectImage, {.interpretation = RIX_LABEL,
                                                       .chosenType = [&labeling] { return typeAtFirst(labeling); },
                                                       .labelScope = scopeOf(labeling)}));
}

Connectivity connectivityOf(const Labeling2d& labeling) {
    return labeling.getNeighborhood() == Labeling2d::CONNECTIVITY_4 ? Connectivity::Edges : Connectivity::EdgesCorners;
}

Connectivity connectivityOf(const Labeling3d& labeling) {
    switch (labeling.getNeighborhood()) {
        case Labeling3d::CONNECTIVITY_6: return Connectivity::Faces;
        case Labeling3d::CONNECTIVITY_18: return Connectivity::FacesEdges;
        default: return Connectivity::FacesEdgesCorners;
    }
}

/// The processors for which the type of the labels is decided: those of the machine, unless a setting names as many for
/// every machine.
std::size_t processorsOf(const BaseAlgorithm& labeling) {
    const std::size_t set = labeling.settings().getValueAsSize_t("RIX_LABEL_TYPE_PROCESSORS", 0);
    return set != 0 ? set : devices::Cpu::logicalProcessors();
}

/// Gives the output the type that the labels need. A wider one stays where it is fixed.
/// @return the output's type
VoxelTypes retype(Property<ImageModel*>& outputLabelImage, VoxelTypes needed) {
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

template <class Labeling>
void process(Labeling& labeling, OptimLevelType level) {
    access::ExecutionContext& context = labeling.executionContext();
    LabelingState& state = algorithms::stateOf<LabelingState>(labeling);
    const int labelType = labeling.getLabelType();
    // One for each attempt with a wider type; no attempt begins anew here, so that most are never taken.
    const access::Steps steps(context, static_cast<std::size_t>(4 - labelType));
    const auto upgraded = [&](int newType) {
        labeling.setProgressionMessage("[" + labeling.getClassInfo().getName() + "] upgrade output type to " +
                                       Labeling::getInfoLabelType().getLabelFromValue(newType));
    };
    const auto retypeOutput = [&](VoxelTypes needed) { return retype(labeling.outputLabelImage, needed); };
    const std::uint64_t labels = labelObjects(
        {context, level, *labeling.getInputObjectImage(), *labeling.getOutputLabelImage(), connectivityOf(labeling),
         labelType, processorsOf(labeling), state.tuning, upgraded, retypeOutput, state.visitRun});
    // A run that is iterated over the sequence comes here once an index.
    state.numberOfLabels = std::max(state.numberOfLabels, labels);
}

template <class Labeling>
void prepare(Labeling& labeling) {
    algorithms::stateOf<LabelingState>(labeling).numberOfLabels = 0;
}

template <class Labeling>
std::size_t memoryOf(const Labeling& labeling) {
    return labelingMemory(*labeling.getInputObjectImage(), connectivityOf(labeling), labeling.getMaximumThreads(),
                          processorsOf(labeling));
}

template <class Labeling>
constexpr algorithms::Definition<Labeling> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Labeling>,
        .process = &process<Labeling>,
        .prepare = &prepare<Labeling>,
        .memory = &memoryOf<Labeling>,
        .memoryIsExact = false,  // it depends on the number of runs
    };
}

constexpr auto ofPlanes = definitionOf<Labeling2d>("Numbers the connected sets of non-zero voxels of every plane.");
constexpr auto ofVolumes = definitionOf<Labeling3d>("Numbers the connected sets of non-zero voxels of every volume.");

constexpr const char* labelTypes = "LABEL_8_BIT = 0, LABEL_16_BIT, LABEL_32_BIT";

}  // namespace

const EnumInfo& Labeling2d::getInfoLabelType() {
    static const EnumInfo info("LabelType", labelTypes);
    return info;
}

const EnumInfo& Labeling3d::getInfoLabelType() {
    static const EnumInfo info("LabelType", labelTypes);
    return info;
}

const EnumInfo& Labeling2d::getInfoNeighborhood2DType() {
    static const EnumInfo info("Neighborhood2DType", "CONNECTIVITY_4 = 0, CONNECTIVITY_8");
    return info;
}

const EnumInfo& Labeling3d::getInfoNeighborhood3DType() {
    static const EnumInfo info("Neighborhood3DType", "CONNECTIVITY_6 = 0, CONNECTIVITY_18, CONNECTIVITY_26");
    return info;
}

std::uint64_t Labeling2d::getNumberOfLabels() const {
    return algorithms::stateOf<LabelingState>(*this).numberOfLabels;
}

std::uint64_t Labeling3d::getNumberOfLabels() const {
    return algorithms::stateOf<LabelingState>(*this).numberOfLabels;
}

RIX_DEFINE_ALGORITHM_WITH(Labeling2d, LabelingState, ofPlanes)
RIX_DEFINE_ALGORITHM_WITH(Labeling3d, LabelingState, ofVolumes)

}  // namespace rix::segmentation
