#include "Results.h"

#include <array>
#include <optional>

#include <rix/properties/Property.h>

#include "Algorithms.h"

namespace rix::cli {
namespace {

template <class T>
std::optional<nlohmann::json> numberOf(const BaseProperty& property) {
    const auto* number = dynamic_cast<const Property<T>*>(&property);
    return number == nullptr ? std::nullopt : std::optional<nlohmann::json>(number->get());
}

nlohmann::json valueToJson(const BaseProperty& property, const std::string& text) {
    if (enumerationOf(property) != nullptr) {
        return text;
    }
    if (const auto* real = dynamic_cast<const Property<double>*>(&property)) {
        return numberToJson(real->get());
    }
    for (const auto& value : {numberOf<bool>(property), numberOf<int>(property), numberOf<unsigned int>(property),
                              numberOf<long>(property), numberOf<unsigned long>(property)}) {
        if (value) {
            return *value;
        }
    }
    return text;
}

/// Values with a text form: a table of one line.
std::optional<Result> readValue(const BaseProperty& property) {
    const auto text = valueToText(property);
    if (!text) {
        return std::nullopt;
    }
    Result result{property.getName(), valueToJson(property, *text), {}};
    result.table.add({property.getName(), *text});
    return result;
}

/// How the kinds of outputs are read: the first that knows the property's type answers. A measurement object gets a
/// reader of its own here, which makes its arrays the columns of the table.
using Reader = std::optional<Result> (*)(const BaseProperty&);
constexpr std::array<Reader, 1> readers{readValue};

}  // namespace

void ResultObjects::create(const BaseAlgorithm& /*algorithm*/) {
    m_objects.clear();
}

std::vector<Result> readResults(const BaseAlgorithm& algorithm) {
    std::vector<Result> results;
    for (const BaseProperty* property : listProperties(algorithm)) {
        if (!property->isOutput() || imageRoleOf(*property) != ImageRole::None) {
            continue;
        }
        for (const Reader read : readers) {
            if (auto result = read(*property)) {
                results.push_back(std::move(*result));
                break;
            }
        }
    }
    return results;
}

}  // namespace rix::cli
