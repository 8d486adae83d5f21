#include "ImageProperties.h"

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/DiskImage.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>
#include <rix/rules/RuleSupport.h>
#include <rix/settings/Settings.h>

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
        const BaseProperty* const output = algorithm.getOutputProperty(m_seenOutputs);
        if (const auto* const slot = dynamic_cast<const MeasurementSlot*>(output)) {
            m_resultSlots.push_back(slot);
        } else if (const auto* const image = dynamic_cast<const Property<ImageModel*>*>(output)) {
            m_imageOutputs.push_back(image);
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

void KnownProperties::flushOutputs(const Settings& settings) const {
    for (const Property<ImageModel*>* const output : m_imageOutputs) {
        ImageModel* const image = output->get();
        if (image != nullptr && image->isOnDisk() && settings.getValueAsBool("RIX_DISKIMAGE_FLUSH", false)) {
            if (auto* const onDisk = dynamic_cast<io::DiskImage*>(image)) {
                onDisk->flush();
            }
        }
    }
}

}  // namespace rix::algorithms
