#include "ImageProperties.h"

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/exceptions/Exception.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>
#include <rix/rules/RuleSupport.h>

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

void KnownProperties::update(const BaseAlgorithm& algorithm) {
    for (const std::size_t count = algorithm.getNumOfInputProperties(); m_seenInputs < count; ++m_seenInputs) {
        if (const auto* const input =
                dynamic_cast<const Property<const ImageModel*>*>(algorithm.getInputProperty(m_seenInputs))) {
            m_imageInputs.push_back(input);
        }
    }
    for (const std::size_t count = algorithm.getNumOfOutputProperties(); m_seenOutputs < count; ++m_seenOutputs) {
        if (const auto* const slot = dynamic_cast<const MeasurementSlot*>(algorithm.getOutputProperty(m_seenOutputs))) {
            m_resultSlots.push_back(slot);
        }
    }
}

void KnownProperties::refuseUnknownTypes() const {
    for (const Property<const ImageModel*>* const input : m_imageInputs) {
        const ImageModel* const image = input->get();
        if (image != nullptr &&
            (helper::getSizeOf(image->getVoxelType()) == 0 || helper::getElementNumber(image->getElementType()) == 0)) {
            RuleException exception(rules::parameterText(*input) + " has an unknown data type: voxel type " +
                                    std::to_string(image->getVoxelType()) + ", element type " +
                                    std::to_string(image->getElementType()) + ".");
            exception.addInfoLevel("Rule error in property " + input->getName());
            throw exception;
        }
    }
}

}  // namespace rix::algorithms
