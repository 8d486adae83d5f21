#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::description {

/// What a user has to know of a property.
struct PropertyFacts {
    std::string name;
    std::string direction;  ///< "in", "out" or "in/out"
    std::string type;       ///< in words
    bool image;
    bool required;  ///< the rules refuse what a new object has: it has to be given
    /// The value that a new object has, as JSON; null for what is required, for results and for what is no value.
    nlohmann::json defaultValue;
    std::string defaultText;          ///< the same as a text for `setValue`
    std::vector<std::string> labels;  ///< of a choice
    std::vector<std::string> rules;
    std::string onlyWith;  ///< what alone it has an effect with, "mode=EXTENTS or FACTORS"; empty for always
    std::string description;
};

/// What a user has to know of an algorithm.
struct AlgorithmFacts {
    std::string name;
    std::string area;
    std::string library;
    AlgorithmDescription description;  ///< for the present values and inputs of the object that was asked
    std::vector<std::string> levels;   ///< with an implementation
    std::string deprecatedSince;       ///< empty for none
    std::vector<PropertyFacts> properties;
};

/// The facts of a property of an object that nobody has changed.
PropertyFacts describeProperty(BaseProperty& property);

/// The facts of an algorithm. Its properties are those of a new object of the class: what was given is no default.
AlgorithmFacts describeAlgorithm(const BaseAlgorithm& algorithm);

nlohmann::json toJson(const PropertyFacts& facts);
/// Everything, the properties as a list in the order of declaration.
nlohmann::json toJson(const AlgorithmFacts& facts);

}  // namespace rix::description
