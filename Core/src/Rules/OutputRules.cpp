#include <rix/rules/OutputRules.h>

#include <utility>

namespace rix {

RuleEnforceLike::RuleEnforceLike(rules::ImageReference model, rules::OwnShape own)
    : m_model(model), m_own(std::move(own)) {}

RuleEnforceLike::~RuleEnforceLike() = default;

ImageCheck RuleEnforceLike::check(const ImageModel& model) const {
    return {m_own.chosenType ? m_own.chosenType() : m_own.voxelType.value_or(model.getVoxelType()), m_model,
            m_own.chosenInterpretation ? m_own.chosenInterpretation()
                                       : m_own.interpretation.value_or(model.getInterpretation())};
}

void RuleEnforceLike::apply(Property<ImageModel*>& property) {
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

}  // namespace rix
