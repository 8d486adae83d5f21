#include "Description.h"

#include <vector>

#include <pybind11/stl.h>

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

py::dict describeProperty(const BaseProperty& property, const PropertyFacts& facts) {
    py::dict result;
    result["name"] = facts.pythonName;
    result["registry_name"] = facts.name;
    result["direction"] = cli::directionOf(property);
    result["role"] = roleName(facts.role);
    result["type"] = property.getImpl()->describeType();
    result["description"] = property.getDescription();
    result["rules"] = property.getImpl()->describeRules();
    result["required"] = facts.required;
    result["annotation"] = facts.kind != nullptr ? facts.kind->annotation : std::string();
    // What the rules refuse is no default.
    const bool hasDefault = facts.kind != nullptr && !facts.isOutput && !facts.required;
    result["default"] = hasDefault ? facts.kind->get(property) : py::none();
    result["enumeration"] = cli::enumerationOf(property) != nullptr ? enumerationClass(property) : py::none();
    return result;
}

}  // namespace

py::dict describeClass(const std::string& name) {
    const ClassFacts& facts = factsOf(name);
    const auto algorithm = cli::createAlgorithm(*facts.info);
    const AlgorithmDescription description = algorithm->describe();
    py::dict result;
    result["name"] = facts.name;
    result["function"] = facts.functionName;
    result["area"] = cli::areaOf(*algorithm);
    result["library"] = facts.info->getLibName();
    result["summary"] = description.summary;
    result["kind"] = algorithmKindToString(description.kind);
    result["in_place"] = description.inPlace;
    result["border_influence"] = py::make_tuple(description.borderInfluence.lower, description.borderInfluence.upper);
    result["levels"] = cli::supportedLevels(*algorithm);
    result["deprecated_since"] = facts.info->getDeprecationVersion();
    py::list properties;
    for (const PropertyFacts& property : facts.properties) {
        properties.append(describeProperty(property.of(*algorithm), property));
    }
    result["properties"] = properties;
    return result;
}

py::list listClasses() {
    py::list classes;
    for (const AlgoInfo* info : cli::listedClasses()) {
        const auto algorithm = cli::createAlgorithm(*info);
        py::dict entry;
        entry["name"] = info->getName();
        entry["function"] = toSnakeCase(info->getName());
        entry["area"] = cli::areaOf(*algorithm);
        entry["summary"] = algorithm->describe().summary;
        classes.append(entry);
    }
    return classes;
}

}  // namespace rix::python
