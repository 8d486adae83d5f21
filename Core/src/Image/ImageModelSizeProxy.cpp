#include <rix/image/ImageModelSizeProxy.h>

#include <rix/exceptions/Exception.h>

#include "Image/ViewChecks.h"

namespace rix {

ImageModelSizeProxy::ImageModelSizeProxy(ImageModel* real, const std::vector<std::size_t>& firstElt,
                                         const std::vector<std::size_t>& nbElts)
    : ImageModelBoxView(real), m_firstElt(firstElt), m_nbElts(nbElts) {
    checkBox();
}

ImageModelSizeProxy::ImageModelSizeProxy(const ImageModel* real, const std::vector<std::size_t>& firstElt,
                                         const std::vector<std::size_t>& nbElts)
    : ImageModelBoxView(real), m_firstElt(firstElt), m_nbElts(nbElts) {
    checkBox();
}

ImageModelSizeProxy::~ImageModelSizeProxy() = default;

void ImageModelSizeProxy::checkBox() const {
    if (m_firstElt.size() != RIX_COMPONENTS_SIZE || m_nbElts.size() != RIX_COMPONENTS_SIZE) {
        throw InvalidCall("A box of an image is given by five positions and five extents, not by " +
                          std::to_string(m_firstElt.size()) + " and " + std::to_string(m_nbElts.size()) + ".");
    }
    for (std::size_t i = 0; i < m_nbElts.size(); ++i) {
        const auto axis = static_cast<Components>(i);
        if (!detail::fits(m_nbElts[i], m_firstElt[i], m_realImage->getNumOf(axis))) {
            throw BadIndex("A box of " + std::to_string(m_nbElts[i]) + " " + helper::componentToString(axis) +
                           " from " + std::to_string(m_firstElt[i]) + " leaves image " +
                           helper::describeImage(*m_realImage) + ".");
        }
    }
}

std::size_t ImageModelSizeProxy::getNumOf(const Components& component) const {
    return component >= COLUMNS && component <= SPECTRAL_SERIES ? m_nbElts[static_cast<std::size_t>(component)] : 0;
}

bool ImageModelSizeProxy::contains(std::size_t nbElement, const Position& position) const {
    bool inside = detail::fits(nbElement, position[COLUMNS], m_nbElts[COLUMNS]);
    for (std::size_t axis = ROWS; axis < position.size(); ++axis) {
        inside = inside && position[axis] < m_nbElts[axis];
    }
    return inside;
}

ImageModelBoxView::Position ImageModelSizeProxy::firstPosition() const {
    return {m_firstElt[COLUMNS], m_firstElt[ROWS], m_firstElt[PLANS], m_firstElt[SEQUENCE],
            m_firstElt[SPECTRAL_SERIES]};
}

}  // namespace rix
