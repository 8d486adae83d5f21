#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/description/Algorithms.h>

#include "Values.h"

namespace rix::python {

/// What a property is to Python.
enum class PropertyRole {
    InputImage,
    OutputImage,
    InPlaceImage,  ///< read and written
    ResultObject,
    Value,
    Unsupported,  ///< a type that Python has no form for
};

/// A property of a class, as far as it is the same for all objects.
struct PropertyFacts {
    std::string name;        ///< "inputImage"
    std::string pythonName;  ///< "input_image"
    std::size_t index;       ///< among the inputs or among the outputs of the algorithm
    bool isOutput;
    PropertyRole role;
    bool required;  ///< as an input: its rules refuse it as it is at first
    bool optional;  ///< as a result: a run does without it
    const ValueKind* kind;

    BaseProperty& of(const BaseAlgorithm& algorithm) const {
        return isOutput ? *algorithm.getOutputProperty(index) : *algorithm.getInputProperty(index);
    }
    bool isImage() const {
        return role == PropertyRole::InputImage || role == PropertyRole::OutputImage ||
               role == PropertyRole::InPlaceImage;
    }
    /// An input whose voxels are numbers of objects.
    bool isLabels() const { return role == PropertyRole::InputImage && name.ends_with("LabelImage"); }
    /// Part of what a run gives back.
    bool isResult() const { return isOutput || role == PropertyRole::InPlaceImage; }
};

/// A class of the registry, seen from Python. All that is worked out once.
struct ClassFacts {
    AlgoInfo* info;
    std::string name;                       ///< "BoxFilter2d"
    std::string functionName;               ///< "box_filter_2d"
    std::vector<PropertyFacts> properties;  ///< inputs, then outputs, without hidden ones
};

/// A text with the names of properties as Python spells them.
std::string inPythonsNames(const ClassFacts& facts, const std::string& text);

/// "BoxFilter2d" becomes "box_filter_2d", "inputImage" "input_image".
std::string toSnakeCase(const std::string& name);

/// The facts of a class by its name, made at the first call. @throws WrongInput, with similar names, when there is none
const ClassFacts& factsOf(const std::string& name);

}  // namespace rix::python
