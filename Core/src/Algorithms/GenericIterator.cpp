#include "GenericIterator.h"

#include <algorithm>
#include <string>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/image/ImageModelFull3d.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/properties/Property.h>

#include "ImageProperties.h"

namespace rix::algorithms {

/// An image property, its own image, and the view that stands in for it during a pass.
struct GenericIterator::Slot {
    BaseProperty* property;
    const ImageModel* image;
    std::unique_ptr<ImageModel> view;

    /// Past the lock: the properties of a running algorithm are locked, and are put back before it ends.
    void put(const ImageModel* shown) const {
        if (auto* const input = dynamic_cast<Property<const ImageModel*>*>(property)) {
            input->getImpl()->m_value = shown;
        } else if (auto* const output = dynamic_cast<Property<ImageModel*>*>(property)) {
            output->getImpl()->m_value = const_cast<ImageModel*>(shown);
        }
    }
};

namespace {

/// A view of the volume at one index. An axis that is not iterated keeps its whole extent.
std::unique_ptr<ImageModel> makeView(ImageModel* image, bool onSequence, bool onSpectral, std::size_t sequence,
                                     std::size_t spectral) {
    const auto extents = helper::getExtents(*image);
    const bool oneFrame = onSequence || extents[SEQUENCE] == 1;
    const bool oneChannel = onSpectral || extents[SPECTRAL_SERIES] == 1;
    if (oneFrame && oneChannel) {
        if (extents[PLANS] == 1) {
            return std::make_unique<ImageModelFull2d>(image, 0, sequence, spectral);
        }
        return std::make_unique<ImageModelFull3d>(image, sequence, spectral);
    }
    std::vector<std::size_t> first{0, 0, 0, oneFrame ? sequence : 0, oneChannel ? spectral : 0};
    std::vector<std::size_t> counts{extents[COLUMNS], extents[ROWS], extents[PLANS], oneFrame ? 1 : extents[SEQUENCE],
                                    oneChannel ? 1 : extents[SPECTRAL_SERIES]};
    return std::make_unique<ImageModelSizeProxy>(image, first, counts);
}

}  // namespace

GenericIterator::GenericIterator(BaseAlgorithm& algorithm, bool onSequence, bool onSpectral)
    : m_onSequence(onSequence), m_onSpectral(onSpectral) {
    const auto add = [this](BaseProperty* property) {
        if (const ImageModel* const image = imageOf(*property); image != nullptr) {
            m_slots.push_back({property, image, nullptr});
        }
    };
    for (std::size_t i = 0; i < algorithm.getNumOfInputProperties(); ++i) {
        add(algorithm.getInputProperty(i));
    }
    for (std::size_t i = 0; i < algorithm.getNumOfOutputProperties(); ++i) {
        add(algorithm.getOutputProperty(i));
    }
}

GenericIterator::~GenericIterator() {
    for (const Slot& slot : m_slots) {
        slot.put(slot.image);
    }
}

std::size_t GenericIterator::commonExtent(Components axis) const {
    std::size_t common = 1;
    for (const Slot& slot : m_slots) {
        const std::size_t extent = slot.image->getNumOf(axis);
        if (extent == 1 || extent == common) {
            continue;
        }
        if (common != 1) {
            throw ProcessingException("The images cannot be iterated together: \"" + slot.property->getName() +
                                      "\" has " + std::to_string(extent) + " indices on the " +
                                      helper::componentToString(axis) + " axis, others have " + std::to_string(common) +
                                      '.');
        }
        common = extent;
    }
    return common;
}

void GenericIterator::showIndex(std::size_t sequence, std::size_t spectral) {
    for (Slot& slot : m_slots) {
        auto* const image = const_cast<ImageModel*>(slot.image);
        auto view = makeView(image, m_onSequence, m_onSpectral, std::min(sequence, image->getNumOf(SEQUENCE) - 1),
                             std::min(spectral, image->getNumOf(SPECTRAL_SERIES) - 1));
        slot.put(view.get());
        slot.view = std::move(view);
    }
}

bool GenericIterator::run(const access::ExecutionContext& context, access::FunctionRef<void(const Pass&)> pass) {
    const std::size_t frames = m_onSequence ? commonExtent(SEQUENCE) : 1;
    const std::size_t channels = m_onSpectral ? commonExtent(SPECTRAL_SERIES) : 1;
    // An empty axis has no index to show: the algorithm sees the images as they are, and its rules have let them pass.
    if (frames == 0 || channels == 0 || (frames == 1 && channels == 1)) {
        return false;
    }
    for (std::size_t spectral = 0; spectral < channels; ++spectral) {
        for (std::size_t sequence = 0; sequence < frames; ++sequence) {
            context.throwIfCancelled();
            showIndex(sequence, spectral);
            pass({spectral * frames + sequence, frames * channels, sequence, spectral});
        }
    }
    return true;
}

}  // namespace rix::algorithms
