#include "Description.h"

#include <vector>

#include <pybind11/stl.h>

#include <rix/description/Facts.h>

#include "Choices.h"
#include "ClassFacts.h"

namespace py = pybind11;

namespace rix::python {
namespace {

const char* roleName(PropertyRole role) {
    switch (role) {
        case PropertyRole::InputImage:
        case PropertyRole::OutputImage:
        case PropertyRole::InPlaceImage: return "image";
        case PropertyRole::ResultObject: return "table";
        case PropertyRole::Value: return "value";
        case PropertyRole::Unsupported: break;
    }
    return "unsupported";
}

/// Arrays as lists: a description is compared with others, and written as JSON.
py::object plain(const py::object& value) {
    return py::hasattr(value, "tolist") ? py::object(value.attr("tolist")()) : value;
}

py::dict describeProperty(BaseProperty& property, const PropertyFacts& facts) {
    const description::PropertyFacts words = description::describeProperty(property);
    py::dict result;
    result["name"] = facts.pythonName;
    result["registry_name"] = facts.name;
    result["direction"] = words.direction;
    result["role"] = roleName(facts.role);
    result["type"] = words.type;
    result["description"] = words.description;
    result["rules"] = words.rules;
    result["only_with"] = words.onlyWith;
    result["required"] = facts.required;
    result["annotation"] = facts.kind != nullptr ? facts.kind->annotation : std::string();
    // What the rules refuse is no default.
    const bool hasDefault = facts.kind != nullptr && !facts.isOutput && !facts.required;
    result["default"] = hasDefault ? plain(facts.kind->get(property)) : py::none();
    result["enumeration"] = words.labels.empty() ? py::none() : enumerationClass(property);
    return result;
}

}  // namespace

py::dict describeClass(const std::string& name) {
    const ClassFacts& facts = factsOf(name);
    const auto algorithm = description::createAlgorithm(*facts.info);
    const description::AlgorithmFacts words = description::describeAlgorithm(*algorithm);
    py::dict result;
    result["name"] = facts.name;
    result["function"] = facts.functionName;
    result["area"] = words.area;
    result["library"] = words.library;
    result["summary"] = words.description.summary;
    result["kind"] = algorithmKindToString(words.description.kind);
    result["in_place"] = words.description.inPlace;
    const BorderInfluence& influence = words.description.borderInfluence;
    result["border_influence"] = py::make_tuple(influence.lower, influence.upper);
    result["levels"] = words.levels;
    result["deprecated_since"] = words.deprecatedSince;
    py::list properties;
    for (const PropertyFacts& property : facts.properties) {
        properties.append(describeProperty(property.of(*algorithm), property));
    }
    result["properties"] = properties;
    return result;
}

py::list listClasses() {
    py::list classes;
    for (const AlgoInfo* info : description::listedClasses()) {
        const auto algorithm = description::createAlgorithm(*info);
        py::dict entry;
        entry["name"] = info->getName();
        entry["function"] = toSnakeCase(info->getName());
        entry["area"] = description::areaOf(*algorithm);
        entry["summary"] = algorithm->describe().summary;
        classes.append(entry);
    }
    return classes;
}

}  // namespace rix::python
