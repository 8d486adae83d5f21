#pragma once

#include <map>
#include <vector>

#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::algorithms {

/// Values as texts by the names of their properties.
using ValueTexts = std::map<String, String>;

/// The values of the inputs that have an effect with some values of a choice alone.
ValueTexts valuesOfConditionalInputs(const BaseAlgorithm& algorithm);

/// A sentence for each set of inputs that are set and have no effect with what is chosen.
/// @param defaults what `valuesOfConditionalInputs` gives for a new object
std::vector<String> notesOnIdleInputs(const BaseAlgorithm& algorithm, const ValueTexts& defaults);

}  // namespace rix::algorithms
