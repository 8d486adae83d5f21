#include "IdleInputs.h"

#include <string>

#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertySingleChoice.h>

namespace rix::algorithms {

namespace {

/// Of an image only whether there is one.
String valueOf(const BaseProperty& property) {
    if (const auto* const image = dynamic_cast<const Property<const ImageModel*>*>(&property)) {
        return image->get() != nullptr ? "set" : "";
    }
    String text;
    property.write(text);
    return text;
}

template <class Use>
void forEachConditional(const BaseAlgorithm& algorithm, const Use& use) {
    for (std::size_t i = 0; i < algorithm.getNumOfInputProperties(); ++i) {
        const BaseProperty& property = *algorithm.getInputProperty(i);
        if (property.getImpl()->m_relevance.choice != nullptr) {
            use(property);
        }
    }
}

/// Of what the choice has; a number where that is no value of the enumeration, which a rule will refuse.
String labelOf(const PropertySingleChoice& choice) {
    const EnumInfo& enumeration = *choice.getEnumInfo();
    return enumeration.exists(choice.get()) ? enumeration.getLabelFromValue(choice.get())
                                            : std::to_string(choice.get());
}

String noteOn(const std::vector<String>& names, const PropertySingleChoice& choice, const String& relevance) {
    String text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    }
    return text + (names.size() == 1 ? " has" : " have") + " no effect with " + choice.getName() + '=' +
           labelOf(choice) + ", only with " + relevance;
}

}  // namespace

ValueTexts valuesOfConditionalInputs(const BaseAlgorithm& algorithm) {
    ValueTexts values;
    forEachConditional(algorithm,
                       [&](const BaseProperty& property) { values[property.getName()] = valueOf(property); });
    return values;
}

std::vector<String> notesOnIdleInputs(const BaseAlgorithm& algorithm, const ValueTexts& defaults) {
    struct Idle {
        const PropertySingleChoice* choice;
        std::vector<String> names;
    };
    std::map<String, Idle> idle;  // by what they would have an effect with
    forEachConditional(algorithm, [&](const BaseProperty& property) {
        const auto usual = defaults.find(property.getName());
        if (!property.isRelevant() && usual != defaults.end() && valueOf(property) != usual->second) {
            Idle& entry = idle[property.describeRelevance()];
            entry.choice = property.getImpl()->m_relevance.choice;
            entry.names.push_back(property.getName());
        }
    });
    std::vector<String> notes;
    for (const auto& [relevance, entry] : idle) {
        notes.push_back(noteOn(entry.names, *entry.choice, relevance));
    }
    return notes;
}

}  // namespace rix::algorithms
