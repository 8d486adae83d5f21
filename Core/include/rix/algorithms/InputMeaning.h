#pragma once

#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/Definition.h>

/// For algorithms whose output may be their input and has another meaning: the rules give it that before the samples
/// are read, and those of a binary image count as 0 and 1.
namespace rix::algorithms {

/// The state of such an algorithm, which has `inputImage`.
struct RIX_EXPORT InputMeaning : AbstractPrivateImplementation {
    ~InputMeaning() override;

    Interpretations meaning = RIX_VALUE;  ///< of the input before the rules
};

/// Its `prepare`.
template <class Algorithm>
void rememberMeaning(Algorithm& algorithm) {
    if (const ImageModel* const input = algorithm.getInputImage(); input != nullptr) {
        stateOf<InputMeaning>(algorithm).meaning = input->getInterpretation();
    }
}

/// Calls `use` with the input as it was meant.
template <class Algorithm, class Use>
void readAsItWas(const Algorithm& algorithm, const Use& use) {
    access::readAsItWas(*algorithm.getInputImage(), stateOf<InputMeaning>(algorithm).meaning, use);
}

}  // namespace rix::algorithms
