#pragma once

#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/Definition.h>

/// For algorithms whose output may be their input and has another meaning: the rules give it that before the samples
/// are read, and those of a binary image count as 0 and 1.
namespace rix::algorithms {

/// Whether an image is set and its voxels count as 0 and 1.
inline bool isBinary(const ImageModel* image) {
    return image != nullptr && image->getInterpretation() == RIX_BINARY;
}

/// The state of such an algorithm, which has `inputImage`, `inputGrayImage` or `inputObjectImage`.
struct RIX_EXPORT InputMeaning : AbstractPrivateImplementation {
    ~InputMeaning() override;

    Interpretations meaning = RIX_VALUE;  ///< of the input before the rules
};

namespace detail {

template <class Algorithm>
const ImageModel* inputOf(const Algorithm& algorithm) {
    if constexpr (requires { algorithm.getInputGrayImage(); }) {
        return algorithm.getInputGrayImage();
    } else if constexpr (requires { algorithm.getInputObjectImage(); }) {
        return algorithm.getInputObjectImage();
    } else {
        return algorithm.getInputImage();
    }
}

}  // namespace detail

/// Its `prepare`.
template <class Algorithm>
void rememberMeaning(Algorithm& algorithm) {
    const ImageModel* const input = detail::inputOf(algorithm);
    stateOf<InputMeaning>(algorithm).meaning = input != nullptr ? input->getInterpretation() : RIX_VALUE;
}

/// Whether the voxels of its input count as 0 and 1.
template <class Algorithm>
bool wasBinary(const Algorithm& algorithm) {
    return stateOf<InputMeaning>(algorithm).meaning == RIX_BINARY;
}

/// Calls `use` with the input as it was meant.
template <class Algorithm, class Use>
void readAsItWas(const Algorithm& algorithm, const Use& use) {
    access::readAsItWas(*detail::inputOf(algorithm), stateOf<InputMeaning>(algorithm).meaning, use);
}

}  // namespace rix::algorithms
