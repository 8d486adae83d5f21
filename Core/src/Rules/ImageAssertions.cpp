#include <rix/rules/ImageAssertions.h>

#include <algorithm>

namespace rix::rules {

namespace {

template <class T>
bool isOneOf(const std::vector<T>& list, T value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

// "uint8, uint16", with `last` instead of the last comma.
template <class T>
String listText(const std::vector<T>& values, String (*toText)(const T&), const char* last = ", ") {
    String text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == values.size() ? last : ", ") + toText(values[i]);
    }
    return text;
}

// Refuses an image for what its description tells.
[[noreturn]] void refuseImage(const ImageOperand& operand, const String& rest,
                              std::source_location where = std::source_location::current()) {
    refuse(parameterText(operand.property) + rest, "The image is " + helper::describeImage(operand.image) + ".", where);
}

// Refuses an image because of another one: `The parameters "a" and "b" must have the same size.`
[[noreturn]] void refusePair(const ImageOperand& operand, const ImageOperand& other, const String& rest,
                             std::source_location where = std::source_location::current()) {
    refuse("The parameters " + quotedName(operand.property) + " and " + quotedName(other.property) + rest,
           describeOperand(operand) + "; " + describeOperand(other) + ".", where);
}

String spacingText(const ImageModel& image) {
    String text = "(";
    for (int axis = RIX_COMPONENTS_FIRST; axis < RIX_COMPONENTS_SIZE; ++axis) {
        text += (axis == 0 ? "" : ", ") + numberToText(image.getSpacingOf(static_cast<Components>(axis)));
    }
    return text + ")";
}

bool isInteger(VoxelTypes type) {
    return type == RIX_UINT8 || type == RIX_UINT16 || type == RIX_UINT32 || type == RIX_INT8 || type == RIX_INT16 ||
           type == RIX_INT32;
}

}  // namespace

void AssertImageNotEmpty::apply(const ImageOperand& operand) const {
    const auto extents = helper::getExtents(operand.image);
    if (std::find(extents.begin(), extents.end(), std::size_t{0}) != extents.end()) {
        refuseImage(operand, " must not be an empty image.");
    }
}

String AssertImageNotEmpty::describe() const {
    return "must not be an empty image";
}

void AssertDimension::apply(const ImageOperand& operand) const {
    const ImageModel& image = operand.image;
    const std::size_t planes = image.getNumOf(PLANS);
    if (m_dimension == ImageDimension::Only2d && planes != 1) {
        refuseImage(operand, " must contain a 2D image.");
    }
    if (m_dimension == ImageDimension::Only3d && planes <= 1) {
        refuseImage(operand, " must contain a 3D image.");
    }
    if (m_spectral == AxisUse::Refused && image.getNumOf(SPECTRAL_SERIES) > 1) {
        refuseImage(operand, " is a multispectral image (e.g. color). Only grayscale images are supported.");
    }
    if (m_sequence == AxisUse::Refused && image.getNumOf(SEQUENCE) > 1) {
        refuseImage(operand, " is a sequence of images (e.g. a movie). Only single images are supported.");
    }
}

String AssertDimension::describe() const {
    String text = m_dimension == ImageDimension::Only2d   ? "must be a 2D image"
                  : m_dimension == ImageDimension::Only3d ? "must be a 3D image"
                                                          : "must be an image";
    String refused = m_spectral == AxisUse::Refused ? "spectral series" : "";
    if (m_sequence == AxisUse::Refused) {
        refused += refused.empty() ? "sequence" : " or sequence";
    }
    return refused.empty() ? text : text + " without " + refused;
}

void AssertImage2d::apply(const ImageOperand& operand) const {
    AssertDimension(ImageDimension::Only2d).apply(operand);
}

String AssertImage2d::describe() const {
    return AssertDimension(ImageDimension::Only2d).describe();
}

void AssertType::apply(const ImageOperand& operand) const {
    const VoxelTypes type = operand.image.getVoxelType();
    if (!isOneOf(m_accepted, type)) {
        refuse(parameterText(operand.property) +
               " supports only data type(s): " + listText(m_accepted, helper::voxelTypesToString) +
               ". Current data type is " + helper::voxelTypesToString(type) + ".");
    }
}

String AssertType::describe() const {
    return "data type must be " + listText(m_accepted, helper::voxelTypesToString, " or ");
}

void AssertTypeClass::apply(const ImageOperand& operand) const {
    const VoxelTypes type = operand.image.getVoxelType();
    const bool real = type == RIX_FLOAT32 || type == RIX_FLOAT64;
    if (!isInteger(type) && !(real && m_accepted == TypeClass::IntegerOrFloating)) {
        refuse(parameterText(operand.property) + " supports only " +
               (m_accepted == TypeClass::Integer ? "integer types." : "integer or floating types.") +
               " Current data type is " + helper::voxelTypesToString(type) + ".");
    }
}

String AssertTypeClass::describe() const {
    return m_accepted == TypeClass::Integer ? "data type must be integer" : "data type must be integer or floating";
}

void AssertElementType::apply(const ImageOperand& operand) const {
    const ElementTypes type = operand.image.getElementType();
    if (!isOneOf(m_accepted, type)) {
        refuse(parameterText(operand.property) +
               " supports only element type(s): " + listText(m_accepted, helper::elementTypesToString) +
               ". Current element type is " + helper::elementTypesToString(type) + ".");
    }
}

String AssertElementType::describe() const {
    return "element type must be " + listText(m_accepted, helper::elementTypesToString, " or ");
}

void AssertSingleElement::apply(const ImageOperand& operand) const {
    const ElementTypes type = operand.image.getElementType();
    if (type != SINGLE) {
        refuse(parameterText(operand.property) + " supports only scalar types. Current data type is " +
               helper::elementTypesToString(type) + ".");
    }
}

String AssertSingleElement::describe() const {
    return "must have scalar elements";
}

void AssertInterpretation::apply(const ImageOperand& operand) const {
    const Interpretations interpretation = operand.image.getInterpretation();
    if (!isOneOf(m_accepted, interpretation)) {
        refuse(parameterText(operand.property) + " supports only " +
               listText(m_accepted, helper::interpretationsToString, " or ") + " images. Current image is " +
               helper::interpretationsToString(interpretation) + ".");
    }
}

String AssertInterpretation::describe() const {
    return "must be a " + listText(m_accepted, helper::interpretationsToString, " or ") + " image";
}

void AssertColorInterpretation::apply(const ImageOperand& operand) const {
    const ColorInterpretation interpretation = operand.image.getColorInterpretation();
    if (!isOneOf(m_accepted, interpretation)) {
        refuse(parameterText(operand.property) + " supports only " +
               listText(m_accepted, helper::colorInterpretationToString, " or ") +
               " color interpretations. Current image is " + helper::colorInterpretationToString(interpretation) + ".");
    }
}

String AssertColorInterpretation::describe() const {
    return "color interpretation must be " + listText(m_accepted, helper::colorInterpretationToString, " or ");
}

void AssertAnyColor::apply(const ImageOperand& operand) const {
    const std::size_t channels = operand.image.getNumOf(SPECTRAL_SERIES);
    if (channels < m_minimumChannels) {
        refuse(parameterText(operand.property) + " supports color images with at least " +
               std::to_string(m_minimumChannels) + " channels. Current image has " + std::to_string(channels) + ".");
    }
}

String AssertAnyColor::describe() const {
    return "must be a color image with at least " + std::to_string(m_minimumChannels) + " channels";
}

void AssertDimensionImage::apply(const ImageOperand& operand) const {
    const auto other = m_reference.open();
    if (operand.image.getNumOf(m_axis) != other->getNumOf(m_axis)) {
        refuse("The number of " + helper::componentToString(m_axis) + " of the parameters " +
                   quotedName(operand.property) + " and " + quotedName(m_reference.property()) + " must be the same.",
               describeOperand(operand) + "; " + describeOperand({*other, m_reference.property()}) + ".");
    }
}

String AssertDimensionImage::describe() const {
    return "must have as many elements on the axis \"" + helper::componentToString(m_axis) + "\" as " +
           m_reference.property().getName();
}

void AssertBinaryIfBinary::apply(const ImageOperand& operand) const {
    const auto other = m_reference.open();
    if (other->getInterpretation() == RIX_BINARY && operand.image.getInterpretation() != RIX_BINARY) {
        refuseImage(operand, " must have a binary interpretation if the parameter " +
                                 quotedName(m_reference.property()) + " is binary.");
    }
}

String AssertBinaryIfBinary::describe() const {
    return "must be binary if " + m_reference.property().getName() + " is binary";
}

void AssertSameInterpretation::apply(const ImageOperand& operand) const {
    const auto other = m_reference.open();
    if (operand.image.getInterpretation() != other->getInterpretation()) {
        refusePair(operand, {*other, m_reference.property()}, " must have the same interpretation.");
    }
}

String AssertSameInterpretation::describe() const {
    return "must have the interpretation of " + m_reference.property().getName();
}

void AssertSameSize::apply(const ImageOperand& operand) const {
    const auto other = m_reference.open();
    if (helper::getExtents(operand.image) != helper::getExtents(*other)) {
        refusePair(operand, {*other, m_reference.property()}, " must have the same size.");
    }
}

String AssertSameSize::describe() const {
    return "must have the size of " + m_reference.property().getName();
}

void AssertSameSpacing::apply(const ImageOperand& operand) const {
    const auto other = m_reference.open();
    for (int axis = RIX_COMPONENTS_FIRST; axis < RIX_COMPONENTS_SIZE; ++axis) {
        const auto component = static_cast<Components>(axis);
        if (operand.image.getSpacingOf(component) != other->getSpacingOf(component)) {
            // The description of an image does not tell its spacing.
            const BaseProperty& reference = m_reference.property();
            refuse("The parameters " + quotedName(operand.property) + " and " + quotedName(reference) +
                       " must have the same spacing.",
                   quotedName(operand.property) + " has " + spacingText(operand.image) + "; " + quotedName(reference) +
                       " has " + spacingText(*other) + ".");
        }
    }
}

String AssertSameSpacing::describe() const {
    return "must have the spacing of " + m_reference.property().getName();
}

void AssertSameType::apply(const ImageOperand& operand) const {
    const auto other = m_reference.open();
    if (operand.image.getVoxelType() != other->getVoxelType()) {
        refusePair(operand, {*other, m_reference.property()}, " must have the same type.");
    }
}

String AssertSameType::describe() const {
    return "must have the data type of " + m_reference.property().getName();
}

}  // namespace rix::rules
