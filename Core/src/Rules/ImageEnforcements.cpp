#include <rix/rules/ImageEnforcements.h>

#include <rix/image/ImageDetails.h>
#include <rix/image/MemoryRefusals.h>
#include <rix/image/SampleMemory.h>

#include "Image/LostSamples.h"

namespace rix::rules {

namespace {

// Runs `enforce`; above what the image says when it refuses comes the rule's text.
template <class Enforce, class RuleText>
void enforceWith(const Enforce& enforce, const RuleText& ruleText) {
    try {
        enforce();
    } catch (RuleException& exception) {
        exception.addInfoLevel(ruleText());
        throw;
    }
}

// `rest` goes between the two properties of the rule's text: `The parameter "a" cannot be retyped to fit the parameter
// "b".` The operation's own levels tell both images.
void enforceLike(const OutputOperand& output, const ImageOperand& reference, int characteristics, const char* rest) {
    enforceWith([&] { output.image.enforceSameCharacteristics(&reference.image, characteristics); },
                [&] {
                    return parameterText(output.property) + rest + " the parameter " + quotedName(reference.property) +
                           ".";
                });
}

// The text for the first part of the calibration that still differs: the parts are set in this order, and the first
// one that can't be set ends the enforcement.
String calibrationText(const OutputOperand& output, const ImageOperand& reference) {
    const ImageModel& is = output.image;
    const ImageModel& wanted = reference.image;
    const String end = " for the parameter " + quotedName(output.property) + " to fit the parameter " +
                       quotedName(reference.property) + ".";
    for (int axis = RIX_COMPONENTS_FIRST; axis < RIX_COMPONENTS_SIZE; ++axis) {
        const auto component = static_cast<Components>(axis);
        const double spacing = wanted.getSpacingOf(component);
        if (is.getSpacingOf(component) != spacing) {
            return "The spacing on the axis \"" + helper::componentToString(component) + "\" cannot be set to " +
                   numberToText(spacing) + end;
        }
        const double origin = wanted.getOriginOf(component);
        if (is.getOriginOf(component) != origin) {
            return "The origin on the axis \"" + helper::componentToString(component) + "\" cannot be set to " +
                   numberToText(origin) + end;
        }
    }
    if (is.getSpatialUnitName() != wanted.getSpatialUnitName()) {
        return "The spatial unit name cannot be set to \"" + wanted.getSpatialUnitName() + "\"" + end;
    }
    if (is.getSpatialDirections() != wanted.getSpatialDirections()) {
        return "The spatial axis system cannot be set" + end;
    }
    return "The sequence unit name cannot be set to \"" + wanted.getSequenceUnitName() + "\"" + end;
}

void enforceCalibration(const OutputOperand& output, const ImageOperand& reference) {
    enforceWith([&] { output.image.enforceSameCharacteristics(&reference.image, CALIBRATION); },
                [&] { return calibrationText(output, reference); });
}

// Sets the interpretation when it differs; false when the image refuses.
bool changeInterpretation(ImageModel& image, Interpretations interpretation) {
    return image.getInterpretation() == interpretation || image.setInterpretation(interpretation);
}

bool changeColorInterpretation(ImageModel& image, ColorInterpretation interpretation) {
    return image.getColorInterpretation() == interpretation || image.setColorInterpretation(interpretation);
}

String imageText(const OutputOperand& output) {
    return "The image is " + helper::describeImage(output.image) + ".";
}

// "VALUE": the label of an interpretation without the prefix that keeps labels unique.
const char* interpretationLabel(Interpretations interpretation) {
    switch (interpretation) {
        case RIX_BINARY: return "BINARY";
        case RIX_LABEL: return "LABEL";
        case RIX_VALUE: return "VALUE";
    }
    return "UNDEFINED";
}

}  // namespace

void EnforceType::apply(const OutputOperand& output) const {
    ImageModel& image = output.image;
    if (image.getVoxelType() == m_type && image.getElementType() == SINGLE) {
        return;
    }
    const auto extents = helper::getExtents(image);
    const helper::MemoryRefusals refusals;
    if (!image.reserve(m_type, extents[0], extents[1], extents[2], extents[3], extents[4])) {
        RuleException exception(parameterText(output.property) + " cannot be retyped to " +
                                helper::voxelTypesToString(m_type) + ".");
        exception.addInfoLevel(imageText(output));
        refusals.explain(exception);
        helper::emptyIfSamplesAreLost(image);
        throw exception;
    }
}

String EnforceType::describe() const {
    return "takes the data type " + helper::voxelTypesToString(m_type);
}

void EnforceInterpretation::apply(const OutputOperand& output) const {
    if (!changeInterpretation(output.image, m_interpretation)) {
        refuse("Cannot change interpretation of the parameter " + quotedName(output.property) + " to " +
                   helper::interpretationsToString(m_interpretation) + ".",
               imageText(output));
    }
}

String EnforceInterpretation::describe() const {
    return "becomes a " + helper::interpretationsToString(m_interpretation) + " image";
}

void SetInterpretation::apply(const OutputOperand& output) const {
    if (!changeInterpretation(output.image, m_interpretation)) {
        refuse(parameterText(output.property) + " cannot be re-interpreted from " +
               helper::interpretationsToString(output.image.getInterpretation()) + " to " +
               helper::interpretationsToString(m_interpretation) + ".");
    }
}

String SetInterpretation::describe() const {
    return "is re-interpreted as a " + helper::interpretationsToString(m_interpretation) + " image";
}

void EnforceSameType::apply(const OutputOperand& output) const {
    const auto reference = m_reference.open();
    enforceLike(output, {*reference, m_reference.property()}, TYPE, " cannot be retyped to fit");
}

String EnforceSameType::describe() const {
    return "takes the data type of " + m_reference.property().getName();
}

void EnforceSameInterpretation::apply(const OutputOperand& output) const {
    const auto reference = m_reference.open();
    enforceLike(output, {*reference, m_reference.property()}, INTERPRETATION, " cannot be interpreted like");
}

String EnforceSameInterpretation::describe() const {
    return "takes the interpretation of " + m_reference.property().getName();
}

void EnforceSameColorInterpretation::apply(const OutputOperand& output) const {
    const auto reference = m_reference.open();
    const ColorInterpretation wanted = reference->getColorInterpretation();
    if (!changeColorInterpretation(output.image, wanted)) {
        refuse(parameterText(output.property) + " cannot be interpreted like the parameter " +
                   quotedName(m_reference.property()) + ".",
               "The color interpretation is " +
                   helper::colorInterpretationToString(output.image.getColorInterpretation()) +
                   " and cannot be set to " + helper::colorInterpretationToString(wanted) + ".");
    }
}

String EnforceSameColorInterpretation::describe() const {
    return "takes the color interpretation of " + m_reference.property().getName();
}

void EnforceSameCalibration::apply(const OutputOperand& output) const {
    const auto reference = m_reference.open();
    enforceCalibration(output, {*reference, m_reference.property()});
}

String EnforceSameCalibration::describe() const {
    return "takes the calibration of " + m_reference.property().getName();
}

void EnforceSameSizeAndCalibration::apply(const OutputOperand& output) const {
    const auto image = m_reference.open();
    const ImageOperand reference{*image, m_reference.property()};
    enforceLike(output, reference, SIZE, " cannot be resized to fit dimensions of");
    enforceCalibration(output, reference);
}

String EnforceSameSizeAndCalibration::describe() const {
    return "takes size and calibration of " + m_reference.property().getName();
}

void EnforceSameSizeCalibrationAndType::apply(const OutputOperand& output) const {
    const auto image = m_reference.open();
    const ImageOperand reference{*image, m_reference.property()};
    enforceLike(output, reference, SIZE | TYPE, " cannot be resized and retyped to fit");
    enforceCalibration(output, reference);
}

String EnforceSameSizeCalibrationAndType::describe() const {
    return "takes size, calibration and data type of " + m_reference.property().getName();
}

void EnforceImage::reserve(const OutputOperand& output, const ImageModel& model) const {
    const auto extents = helper::getExtents(model);
    const ElementTypes elementType = model.getElementType();
    ImageModel& image = output.image;
    if (helper::getExtents(image) == extents && image.getElementType() == elementType &&
        image.getVoxelType() == m_check.voxelType) {
        return;
    }
    const ImageOperand reference{model, m_check.model.property()};
    const helper::MemoryRefusals refusals;
    const auto refuseShape = [&](const String& reason) {
        RuleException exception(reason);
        exception.addInfoLevel(parameterText(output.property) + " cannot be resized and retyped to fit the parameter " +
                               quotedName(reference.property) + " with the data type " +
                               helper::voxelTypesToString(m_check.voxelType) + ".");
        exception.addInfoLevel(describeOperand(output) + "; " + describeOperand(reference) + ".");
        refusals.explain(exception);
        throw exception;
    };
    if (helper::mayShareSamples(image, model)) {
        refuseShape(isSameImage(image, model) ? "Both are the same image, whose samples would be lost."
                                              : "The images share samples, which would be lost.");
    }
    if (!image.reserve(elementType, m_check.voxelType, extents[0], extents[1], extents[2], extents[3], extents[4])) {
        helper::emptyIfSamplesAreLost(image);
        refuseShape("The image cannot be resized.");
    }
}

void EnforceImage::apply(const OutputOperand& output) const {
    const auto model = m_check.model.open();
    reserve(output, *model);
    enforceCalibration(output, {*model, m_check.model.property()});
    const ColorInterpretation color = model->getColorInterpretation();
    if (!changeColorInterpretation(output.image, color)) {
        refuse("The color interpretation of the model image cannot be updated.",
               quotedName(output.property) + " has " +
                   helper::colorInterpretationToString(output.image.getColorInterpretation()) +
                   " and cannot be set to " + helper::colorInterpretationToString(color) + ".");
    }
    if (m_check.interpretation.has_value() && !changeInterpretation(output.image, *m_check.interpretation)) {
        refuse(String("The model image cannot be re-interpreted into \"") +
                   interpretationLabel(*m_check.interpretation) + "\".",
               describeOperand(output) + ".");
    }
    if (m_check.interpretation.has_value()) {
        const bool hasPlanes = model->getNumOf(PLANS) > 1;
        const LabelScope scope = m_check.labelScope.value_or(helper::getLabelScope(*model));
        // Not every image has a place for it.
        static_cast<void>(helper::setLabelScope(output.image, hasPlanes ? scope : LabelScope::Volume));
    }
}

String EnforceImage::describe() const {
    String text = "takes shape and calibration of " + m_check.model.property().getName() + " with the data type " +
                  helper::voxelTypesToString(m_check.voxelType);
    if (m_check.interpretation.has_value()) {
        text += " as a " + helper::interpretationsToString(*m_check.interpretation) + " image";
    }
    return text;
}

}  // namespace rix::rules
