#include <rix/description/Algorithms.h>

#include <array>
#include <utility>

#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/description/WrongInput.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertyMultipleChoices.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/rules/KnownWords.h>

namespace rix::description {
namespace {

constexpr std::array<std::pair<OptimLevelType, const char*>, 4> levelNames{
    {{SCALAR, "scalar"}, {VEC_SSE, "sse"}, {VEC_AVX, "avx"}, {GPU, "gpu"}}};

}  // namespace

std::vector<AlgoInfo*> listedClasses() {
    std::vector<AlgoInfo*> classes;
    for (std::size_t i = 0; i < AlgoInfo::getNumOfAlgorithm(); ++i) {
        AlgoInfo& info = AlgoInfo::getAlgorithmsInfoByIndex(i);
        if (info.getAlgoVisibility() == AlgoVisibilityType::PUBLIC_ALGORITHM) {
            classes.push_back(&info);
        }
    }
    return classes;
}

AlgoInfo& findClass(const std::string& name) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < AlgoInfo::getNumOfAlgorithm(); ++i) {
        AlgoInfo& info = AlgoInfo::getAlgorithmsInfoByIndex(i);
        if (info.getName() == name) {
            return info;
        }
        if (info.getAlgoVisibility() == AlgoVisibilityType::PUBLIC_ALGORITHM) {
            names.push_back(info.getName());
        }
    }
    throw WrongInput("there is no algorithm " + inQuotes(name) + " ('rix list' names all)", suggest(name, names));
}

std::unique_ptr<BaseAlgorithm> createAlgorithm(const AlgoInfo& info) {
    return info.createInstance(nullptr);
}

std::string areaOf(const BaseAlgorithm& algorithm) {
    return algorithm.getClassInfo().getArea();
}

std::vector<BaseProperty*> listProperties(const BaseAlgorithm& algorithm) {
    std::vector<BaseProperty*> properties;
    const auto add = [&](BaseProperty* property) {
        if (property != nullptr && property->getVisibility() == PROPERTY_PUBLIC) {
            properties.push_back(property);
        }
    };
    for (std::size_t i = 0; i < algorithm.getNumOfInputProperties(); ++i) {
        add(algorithm.getInputProperty(i));
    }
    for (std::size_t i = 0; i < algorithm.getNumOfOutputProperties(); ++i) {
        add(algorithm.getOutputProperty(i));
    }
    return properties;
}

BaseProperty& findProperty(const BaseAlgorithm& algorithm, const std::string& name) {
    if (BaseProperty* property = algorithm.getPropertyfromName(name)) {
        return *property;
    }
    std::vector<std::string> names;
    for (const BaseProperty* property : listProperties(algorithm)) {
        names.push_back(property->getName());
    }
    const std::string className = algorithm.getClassInfo().getName();
    throw WrongInput(className + " has no property " + inQuotes(name) + " ('rix describe " + className + "' names all)",
                     suggest(name, names));
}

bool isRequired(BaseProperty& property) {
    try {
        property.applyRules(false);
        return false;
    } catch (const Exception&) {
        return true;
    }
}

ImageRole imageRoleOf(const BaseProperty& property) {
    if (dynamic_cast<const Property<const ImageModel*>*>(&property) != nullptr) {
        return ImageRole::Input;
    }
    if (dynamic_cast<const Property<ImageModel*>*>(&property) == nullptr) {
        return ImageRole::None;
    }
    return property.isInputOutput() || !property.isOutput() ? ImageRole::InPlace : ImageRole::Output;
}

std::string directionOf(const BaseProperty& property) {
    if (property.isInputOutput() || imageRoleOf(property) == ImageRole::InPlace) {
        return "in/out";
    }
    return property.isOutput() ? "out" : "in";
}

const EnumInfo* enumerationOf(const BaseProperty& property) {
    if (const auto* choice = dynamic_cast<const PropertySingleChoice*>(&property)) {
        return choice->getEnumInfo();
    }
    if (const auto* choices = dynamic_cast<const PropertyMultipleChoices*>(&property)) {
        return choices->getEnumInfo();
    }
    return nullptr;
}

std::vector<String> wordsOf(const BaseProperty& property) {
    if (const auto* const text = dynamic_cast<const Property<String>*>(&property)) {
        for (const auto& rule : text->getImpl()->m_rules) {
            if (const auto* const known = dynamic_cast<const KnownWords*>(rule.get())) {
                return known->words();
            }
        }
    }
    return {};
}

std::vector<std::string> labelsOf(const EnumInfo& enumeration) {
    std::vector<std::string> labels;
    for (std::size_t i = 0; i < enumeration.getNumOfValues(); ++i) {
        const int value = enumeration.getValueFromValueIndex(i);
        for (std::size_t j = 0; j < enumeration.getNumOfLabelsAtValue(value); ++j) {
            labels.push_back(enumeration.getLabelFromValueIndex(i, j));
        }
    }
    return labels;
}

std::vector<std::string> supportedLevels(const BaseAlgorithm& algorithm) {
    std::vector<std::string> levels;
    for (const auto& [level, name] : levelNames) {
        if (algorithm.isOptimLevelSupported(level)) {
            levels.emplace_back(name);
        }
    }
    return levels;
}

std::string levelToString(OptimLevelType level) {
    for (const auto& [known, name] : levelNames) {
        if (known == level) {
            return name;
        }
    }
    return "level " + std::to_string(level);
}

}  // namespace rix::description
