#include "Results.h"

#include <array>
#include <optional>

#include <rix/description/Algorithms.h>
#include <rix/description/Tables.h>
#include <rix/description/Text.h>
#include <rix/description/Values.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>

#include "Statistics.h"

namespace rix::cli {
namespace {

/// Values with a text form: a table of one line.
std::optional<Result> readValue(const BaseProperty& property) {
    const auto text = description::valueToText(property);
    if (!text) {
        return std::nullopt;
    }
    Result result{property.getName(), description::valueToJson(property)};
    result.lines.add({property.getName(), *text});
    return result;
}

/// Result objects: their arrays are the columns of a table.
std::optional<Result> readObject(const BaseProperty& property) {
    const auto* slot = dynamic_cast<const MeasurementSlot*>(&property);
    if (slot == nullptr || slot->getObject() == nullptr) {
        return std::nullopt;
    }
    return Result{.name = property.getName(),
                  .table = std::make_shared<vessel::DataFrame>(slot->getObject()->toDataFrame())};
}

/// A label image: how many objects it has, which is the largest label of a plane or volume.
std::optional<Result> countObjects(const BaseProperty& property) {
    const auto* output = dynamic_cast<const Property<ImageModel*>*>(&property);
    if (output == nullptr || output->get() == nullptr || output->get()->getInterpretation() != RIX_LABEL) {
        return std::nullopt;
    }
    const SampleStatistics labels = computeStatistics(*output->get());
    const auto objects = static_cast<std::uint64_t>(labels.hasValues() ? labels.maximum() : 0.0);
    Result result{property.getName(), {{"objects", objects}}};
    result.lines.add({property.getName(), std::to_string(objects) + (objects == 1 ? " object" : " objects")});
    return result;
}

/// How the kinds of outputs are read: the first that knows the property's type answers.
using Reader = std::optional<Result> (*)(const BaseProperty&);
constexpr std::array<Reader, 3> readers{readObject, countObjects, readValue};

}  // namespace

nlohmann::json Result::toJson() const {
    return table != nullptr ? description::toJson(*table) : value;
}

std::string Result::toText(std::string_view indent, std::size_t mostRows) const {
    return table != nullptr ? description::toTextTable(*table, mostRows).toText(indent) : lines.toText(indent);
}

void ResultObjects::create(const BaseAlgorithm& algorithm) {
    for (BaseProperty* property : description::listProperties(algorithm)) {
        auto* slot = dynamic_cast<MeasurementSlot*>(property);
        if (slot != nullptr && slot->getObject() == nullptr) {
            m_objects.push_back(slot->createObject());
            slot->setObject(m_objects.back().get());
        }
    }
}

std::vector<Result> readResults(const BaseAlgorithm& algorithm) {
    std::vector<Result> results;
    for (const BaseProperty* property : description::listProperties(algorithm)) {
        if (!property->isOutput()) {
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
