#include "ImageProperties.h"

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/properties/Property.h>

namespace rix::algorithms {

const ImageModel* imageOf(const BaseProperty& property) {
    if (const auto* const input = dynamic_cast<const Property<const ImageModel*>*>(&property)) {
        return input->get();
    }
    if (const auto* const output = dynamic_cast<const Property<ImageModel*>*>(&property)) {
        return output->get();
    }
    return nullptr;
}

std::vector<const ImageModel*> collectImages(const BaseAlgorithm& algorithm) {
    std::vector<const ImageModel*> images;
    const auto collect = [&](const BaseProperty* property) {
        if (const ImageModel* const image = imageOf(*property); image != nullptr) {
            images.push_back(image);
        }
    };
    for (std::size_t i = 0; i < algorithm.getNumOfInputProperties(); ++i) {
        collect(algorithm.getInputProperty(i));
    }
    for (std::size_t i = 0; i < algorithm.getNumOfOutputProperties(); ++i) {
        collect(algorithm.getOutputProperty(i));
    }
    return images;
}

}  // namespace rix::algorithms
