#include <rix/description/Values.h>

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>
#include <vector>

#include <rix/description/Algorithms.h>
#include <rix/description/Suggestions.h>
#include <rix/description/WrongInput.h>
#include <rix/properties/PropertySingleChoice.h>

#include "JsonForms.h"

namespace rix::description {
namespace {

/// How values of one type pass between a property and JSON.
struct Kind {
    bool (*matches)(const BaseProperty& property);
    Json (*get)(const BaseProperty& property);
    bool (*set)(BaseProperty& property, const Json& value);
};

template <class... Ts>
const std::vector<Kind>& makeKinds() {
    static const std::vector<Kind> kinds{
        {[](const BaseProperty& property) { return dynamic_cast<const Property<Ts>*>(&property) != nullptr; },
         [](const BaseProperty& property) {
             return JsonForm<Ts>::toJson(static_cast<const Property<Ts>&>(property).get());
         },
         [](BaseProperty& property, const Json& json) {
             auto value = JsonForm<Ts>::fromJson(json);
             if (value) {
                 static_cast<Property<Ts>&>(property).set(*value);
             }
             return value.has_value();
         }}...};
    return kinds;
}

/// The kind of a property's values; null for images, result objects and other things that are no values.
const Kind* findKind(const BaseProperty& property) {
    using container::Vector;
    const auto& kinds =
        makeKinds<bool, int, unsigned int, long, unsigned long, double, String, FilePath, Scalar, ScalarArray,
                  math::Vector2<int>, math::Vector3<int>, math::Vector4<int>, math::Vector2<unsigned int>,
                  math::Vector3<unsigned int>, math::Vector4<unsigned int>, math::Vector2<double>,
                  math::Vector3<double>, math::Vector4<double>, math::Matrix2<float>, math::Matrix2<double>,
                  math::Matrix3<float>, math::Matrix3<double>, vessel::Matrix<double, 3>, vessel::Matrix<double, 4>,
                  Vector<double>, Vector<int>, Vector<long>, Vector<unsigned char>, Vector<unsigned int>,
                  Vector<unsigned long>, Vector<math::Vector2<int>>, Vector<math::Vector3<int>>, kernel::Kernel2D,
                  kernel::Kernel3D, kernel::RecursiveKernel1D>();
    const auto found =
        std::find_if(kinds.begin(), kinds.end(), [&](const Kind& kind) { return kind.matches(property); });
    return found == kinds.end() ? nullptr : &*found;
}

/// The labels of the bits of a combined value; empty when a bit has no label.
std::string combinedLabels(const EnumInfo& enumeration, int value) {
    std::string text;
    int covered = 0;
    for (std::size_t i = 0; i < enumeration.getNumOfValues() && covered != value; ++i) {
        const int bits = enumeration.getValueFromValueIndex(i);
        if (bits != 0 && (value & bits) == bits) {
            text += (text.empty() ? "" : "|") + enumeration.getLabelFromValueIndex(i, 0);
            covered |= bits;
        }
    }
    return covered == value ? text : std::string();
}

template <class T>
bool isWholly(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    T value{};
    const auto end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

/// False when the property holds a number of type T and the text isn't one from its first to its last letter.
template <class... Ts>
bool passesAsNumber(const BaseProperty& property, const std::string& text) {
    return ((dynamic_cast<const Property<Ts>*>(&property) == nullptr || isWholly<Ts>(text)) && ...);
}

bool isWellFormed(const BaseProperty& property, const std::string& text) {
    if (const auto* choice = dynamic_cast<const PropertySingleChoice*>(&property)) {
        return choice->getEnumInfo() == nullptr || choice->getEnumInfo()->exists(text) || isWholly<int>(text);
    }
    // Several choices are numbers to the library, too, but it reads each of their texts as a whole.
    return enumerationOf(property) != nullptr ||
           passesAsNumber<int, unsigned int, long, unsigned long, double>(property, text);
}

/// The labels that the wrong one of several labels joined by "|" may have meant.
std::vector<std::string> suggestLabels(const std::string& text, const std::vector<std::string>& labels) {
    const std::set<std::string> known(labels.begin(), labels.end());
    for (std::size_t first = 0; first <= text.size();) {
        const std::size_t end = std::min(text.find('|', first), text.size());
        const std::string label = text.substr(first, end - first);
        if (!label.empty() && !known.contains(label)) {
            return suggest(label, labels);
        }
        first = end + 1;
    }
    return {};
}

/// A value of several components as JSON: the library writes no text of most of these. Nothing for other values.
std::optional<std::string> componentsOf(const BaseProperty& property, const Kind& kind) {
    const Json json = kind.get(property);
    return json.is_array() && !json.empty() ? std::optional(json.dump()) : std::nullopt;
}

[[noreturn]] void refuse(const BaseProperty& property, const std::string& text) {
    const std::string complaint = property.getName() + " can't be " + inQuotes(text);
    if (const EnumInfo* const enumeration = enumerationOf(property)) {
        const auto labels = labelsOf(*enumeration);
        throw WrongInput(complaint, suggestLabels(text, labels), "it takes " + join(labels));
    }
    const Kind* const kind = findKind(property);
    const auto example = kind != nullptr ? componentsOf(property, *kind) : std::nullopt;
    throw WrongInput(complaint + ": it takes a value of type " + property.getImpl()->describeType() +
                     (example ? ", such as " + *example : ""));
}

/// The text of a value of several components as JSON, whose outermost brackets may be left out; nothing when it is
/// none.
std::optional<Json> componentsFrom(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;  // no list, rather than an empty one
    }
    const bool isWhole = text.starts_with('[') || text.starts_with('{');
    Json json = Json::parse(isWhole ? text : '[' + text + ']', nullptr, false);
    return json.is_discarded() ? std::nullopt : std::optional(std::move(json));
}

}  // namespace

std::optional<std::string> valueToText(const BaseProperty& property) {
    if (const auto* number = dynamic_cast<const Property<double>*>(&property)) {
        return numberToText(number->get());  // the library's own text keeps six digits only
    }
    std::string text;
    if (!property.write(text)) {
        const Kind* const kind = findKind(property);
        return kind != nullptr ? componentsOf(property, *kind) : std::nullopt;
    }
    const auto* choice = dynamic_cast<const Property<int>*>(&property);
    if (const EnumInfo* enumeration = enumerationOf(property); enumeration != nullptr && choice != nullptr) {
        const int value = choice->get();
        const std::string label =
            enumeration->exists(value) ? enumeration->getLabelFromValue(value, 0) : combinedLabels(*enumeration, value);
        return label.empty() ? text : label;
    }
    return text;
}

Json valueToJson(const BaseProperty& property) {
    if (enumerationOf(property) != nullptr) {
        return valueToText(property).value_or(std::string());
    }
    const Kind* const kind = findKind(property);
    return kind != nullptr ? kind->get(property) : Json();
}

void setValue(BaseProperty& property, const std::string& text) {
    std::string normalised;
    if (isWellFormed(property, text) && property.read(text, normalised)) {
        return;
    }
    const auto json = componentsFrom(text);
    const Kind* const kind = findKind(property);
    if (!json || kind == nullptr || !kind->set(property, *json)) {
        refuse(property, text);
    }
}

void setValueFromJson(BaseProperty& property, const Json& value) {
    const bool isChoice = enumerationOf(property) != nullptr;
    const Kind* const kind = findKind(property);
    if (!isChoice && kind != nullptr && kind->set(property, value)) {
        return;
    }
    if (value.is_string() || (isChoice && value.is_number_integer())) {
        setValue(property, value.is_string() ? value.get<std::string>() : value.dump());
    } else {
        refuse(property, value.dump());
    }
}

}  // namespace rix::description
