#include "ClassFacts.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <memory>

#include <rix/measurement/PropertyMeasurement.h>

namespace rix::python {
namespace {

PropertyRole roleOf(const BaseProperty& property, const ValueKind* kind) {
    switch (description::imageRoleOf(property)) {
        case description::ImageRole::Input: return PropertyRole::InputImage;
        case description::ImageRole::Output: return PropertyRole::OutputImage;
        case description::ImageRole::InPlace: return PropertyRole::InPlaceImage;
        case description::ImageRole::None: break;
    }
    if (dynamic_cast<const MeasurementSlot*>(&property) != nullptr) {
        return PropertyRole::ResultObject;
    }
    return kind != nullptr ? PropertyRole::Value : PropertyRole::Unsupported;
}

ClassFacts makeFacts(AlgoInfo& info) {
    ClassFacts facts{&info, info.getName(), toSnakeCase(info.getName()), {}};
    const auto algorithm = description::createAlgorithm(info);
    const auto add = [&](std::size_t index, BaseProperty* property, bool isOutput) {
        if (property == nullptr || property->getVisibility() != PROPERTY_PUBLIC) {
            return;
        }
        const ValueKind* const kind = findValueKind(*property);
        const bool required = description::isRequired(*property);
        const PropertyRole role = roleOf(*property, kind);
        const bool optional = role == PropertyRole::OutputImage && !required;
        facts.properties.push_back({property->getName(), toSnakeCase(property->getName()), index, isOutput, role,
                                    !isOutput && required, optional, kind});
    };
    for (std::size_t i = 0; i < algorithm->getNumOfInputProperties(); ++i) {
        add(i, algorithm->getInputProperty(i), false);
    }
    for (std::size_t i = 0; i < algorithm->getNumOfOutputProperties(); ++i) {
        add(i, algorithm->getOutputProperty(i), true);
    }
    // A parameter without a default can't follow one that has one: what must be given comes first.
    const auto rank = [](const PropertyFacts& property) { return property.isOutput ? 2 : property.required ? 0 : 1; };
    std::stable_sort(facts.properties.begin(), facts.properties.end(),
                     [&](const PropertyFacts& a, const PropertyFacts& b) { return rank(a) < rank(b); });
    return facts;
}

}  // namespace

std::string inPythonsNames(const ClassFacts& facts, const std::string& text) {
    const auto isOfWord = [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; };
    std::string result;
    for (auto at = text.begin(); at != text.end();) {
        const auto end = std::find_if_not(at, text.end(), isOfWord);
        const std::string word(at, end);
        const auto named = std::find_if(facts.properties.begin(), facts.properties.end(),
                                        [&](const PropertyFacts& property) { return property.name == word; });
        result += named != facts.properties.end() ? named->pythonName : word;
        at = std::find_if(end, text.end(), isOfWord);
        result.append(end, at);
    }
    return result;
}

std::string toSnakeCase(const std::string& name) {
    const auto isUpper = [](char c) { return std::isupper(static_cast<unsigned char>(c)) != 0; };
    const auto isDigit = [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; };
    std::string result;
    for (std::size_t i = 0; i < name.size(); ++i) {
        // A word begins with a capital, unless it goes on in capitals (an abbreviation), and with the first digit.
        const bool afterWord = i > 0 && !isUpper(name[i - 1]) && name[i - 1] != '_';
        const bool endsCapitals =
            i > 0 && i + 1 < name.size() && isUpper(name[i - 1]) && !isUpper(name[i + 1]) && !isDigit(name[i + 1]);
        if ((isUpper(name[i]) && (afterWord || endsCapitals)) || (isDigit(name[i]) && i > 0 && !isDigit(name[i - 1]))) {
            result += '_';
        }
        result += static_cast<char>(std::tolower(static_cast<unsigned char>(name[i])));
    }
    return result;
}

const ClassFacts& factsOf(const std::string& name) {
    // Never destroyed: objects may be as late as the interpreter's end. Under the interpreter's lock.
    static auto* const known = new std::map<std::string, std::unique_ptr<const ClassFacts>>();
    const auto found = known->find(name);
    if (found != known->end()) {
        return *found->second;
    }
    auto facts = std::make_unique<const ClassFacts>(makeFacts(description::findClass(name)));
    return *known->emplace(name, std::move(facts)).first->second;
}

}  // namespace rix::python
