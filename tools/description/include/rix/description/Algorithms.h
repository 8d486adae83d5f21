#pragma once

#include <memory>
#include <string>
#include <vector>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/properties/BaseProperty.h>
#include <rix/properties/EnumInfo.h>

namespace rix::description {

/// The classes offered to users, in the order of the registry.
std::vector<AlgoInfo*> listedClasses();

/// The class of a name, hidden ones included. @throws WrongInput with similar names.
AlgoInfo& findClass(const std::string& name);

std::unique_ptr<BaseAlgorithm> createAlgorithm(const AlgoInfo& info);

/// The field of the library that an algorithm belongs to, for example "segmentation".
std::string areaOf(const BaseAlgorithm& algorithm);

/// Inputs, then outputs, in the order of declaration, without the hidden ones.
std::vector<BaseProperty*> listProperties(const BaseAlgorithm& algorithm);

/// The property of a name. @throws WrongInput with similar names.
BaseProperty& findProperty(const BaseAlgorithm& algorithm, const std::string& name);

/// True when the rules of a property that look at no other refuse its present value: of a new object, what has to be
/// given before it runs.
bool isRequired(BaseProperty& property);

enum class ImageRole {
    None,     ///< no image
    Input,    ///< read only
    Output,   ///< made by the run
    InPlace,  ///< read, changed and written back
};

ImageRole imageRoleOf(const BaseProperty& property);

/// "in", "out" or "in/out"
std::string directionOf(const BaseProperty& property);

/// The enumeration that a choice takes its values from; null for other properties.
const EnumInfo* enumerationOf(const BaseProperty& property);

/// The words that a text may list, separated by commas; none where they are not known.
std::vector<String> wordsOf(const BaseProperty& property);

/// The labels of an enumeration, in ascending order of their values.
std::vector<std::string> labelsOf(const EnumInfo& enumeration);

/// "scalar, sse, avx": the levels with an implementation, as the option of `rix run` names them.
std::vector<std::string> supportedLevels(const BaseAlgorithm& algorithm);

/// "scalar", "sse", "avx", "gpu"
std::string levelToString(OptimLevelType level);

}  // namespace rix::description
