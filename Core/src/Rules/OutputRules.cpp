#include <rix/rules/OutputRules.h>

#include <utility>

#include <rix/image/MemoryRefusals.h>

#include "Image/LostSamples.h"

namespace rix {

rules::ShapesOutput::~ShapesOutput() = default;

RuleEnforceLike::RuleEnforceLike(rules::ImageReference model, rules::OwnShape own)
    : m_model(model), m_own(std::move(own)) {}

RuleEnforceLike::~RuleEnforceLike() = default;

ImageCheck RuleEnforceLike::check(const ImageModel& model) const {
    return {m_own.chosenType ? m_own.chosenType() : m_own.voxelType.value_or(model.getVoxelType()), m_model,
            m_own.chosenInterpretation ? m_own.chosenInterpretation()
                                       : m_own.interpretation.value_or(model.getInterpretation()),
            m_own.labelScope};
}

void RuleEnforceLike::apply(Property<ImageModel*>& property) {
    if (property.get() == nullptr) {
        return;
    }
    RuleEnforceImage<ImageModel*>(check(*m_model.open())).apply(property);
}

String RuleEnforceLike::describe() const {
    String text = "takes shape and calibration of " + m_model.property().getName();
    if (m_own.chosenType) {
        text += " with a data type that follows from the inputs";
    } else if (m_own.voxelType.has_value()) {
        text += " with the data type " + helper::voxelTypesToString(*m_own.voxelType);
    } else {
        text += ", and its data type";
    }
    if (!m_own.chosenInterpretation) {
        text += m_own.interpretation.has_value()
                    ? " as a " + helper::interpretationsToString(*m_own.interpretation) + " image"
                    : String(" and interpretation");
    }
    return text;
}

rules::ExpectedShape RuleEnforceLike::expected() const {
    const auto model = m_model.open();
    const VoxelTypes type = check(*model).voxelType;
    return {type, helper::getExtents(*model), type == model->getVoxelType()};
}

AddRuleEnforceLike::AddRuleEnforceLike(rules::ImageReference model, rules::OwnShape own)
    : m_model(model), m_own(std::move(own)) {}

std::shared_ptr<Rules<Property<ImageModel*>>> AddRuleEnforceLike::operator()(Property<ImageModel*>& property) const {
    std::shared_ptr<Rules<Property<ImageModel*>>> rule = std::make_shared<RuleEnforceLike>(m_model, m_own);
    property.getImpl()->addRule(rule);
    return rule;
}

RuleEnforceHeader::RuleEnforceHeader(Header header, String text)
    : m_header(std::move(header)), m_text(std::move(text)) {}

RuleEnforceHeader::~RuleEnforceHeader() = default;

void RuleEnforceHeader::apply(Property<ImageModel*>& property) {
    ImageModel* const image = property.get();
    if (image == nullptr) {
        return;
    }
    const HeaderImage wanted(m_header());
    const auto fail = [&](const String& what) {
        RuleException exception(rules::parameterText(property) + what);
        exception.addInfoLevel("The image is " + helper::describeImage(*image) + " and should be " +
                               helper::describeImage(wanted) + ".");
        return exception;
    };
    const auto& extents = wanted.header().extents;
    const VoxelTypes type = wanted.getVoxelType();
    if (helper::getExtents(*image) != extents || image->getVoxelType() != type || image->getElementType() != SINGLE) {
        const helper::MemoryRefusals refusals;
        if (!image->reserve(type, extents[0], extents[1], extents[2], extents[3], extents[4])) {
            helper::emptyIfSamplesAreLost(*image);  // first: memory for the message may be short, too
            RuleException exception = fail(" cannot be resized and retyped.");
            refusals.explain(exception);
            throw exception;
        }
    }
    try {
        image->enforceSameCharacteristics(&wanted, CALIBRATION | INTERPRETATION);
    } catch (RuleException& exception) {
        exception.addInfoLevel(rules::parameterText(property) + " cannot be calibrated and interpreted.");
        throw;
    }
    const ColorInterpretation color = wanted.getColorInterpretation();
    if (image->getColorInterpretation() != color && !image->setColorInterpretation(color)) {
        throw fail(" cannot change its color interpretation.");
    }
}

String RuleEnforceHeader::describe() const {
    return "takes " + m_text;
}

rules::ExpectedShape RuleEnforceHeader::expected() const {
    const ImageHeader header = m_header();
    return {header.voxelType, header.extents, false};
}

}  // namespace rix
