#include <rix/image/ImageModelSizeProxy.h>

#include <rix/exceptions/Exception.h>

#include "Image/ViewChecks.h"

namespace rix {

ImageModelSizeProxy::ImageModelSizeProxy(ImageModel* real, const std::vector<std::size_t>& firstElt,
                                         const std::vector<std::size_t>& nbElts)
    : ImageModelSizeProxyBase(real), m_firstElt(firstElt), m_nbElts(nbElts) {
    checkBox();
}

ImageModelSizeProxy::ImageModelSizeProxy(const ImageModel* real, const std::vector<std::size_t>& firstElt,
                                         const std::vector<std::size_t>& nbElts)
    : ImageModelSizeProxyBase(real), m_firstElt(firstElt), m_nbElts(nbElts) {
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

bool ImageModelSizeProxy::contains(std::size_t nbElement, std::size_t firstCols, std::size_t firstRows,
                                   std::size_t firstPlans, std::size_t firstSequence,
                                   std::size_t firstSpectralSeries) const {
    return detail::fits(nbElement, firstCols, m_nbElts[COLUMNS]) && firstRows < m_nbElts[ROWS] &&
           firstPlans < m_nbElts[PLANS] && firstSequence < m_nbElts[SEQUENCE] &&
           firstSpectralSeries < m_nbElts[SPECTRAL_SERIES];
}

bool ImageModelSizeProxy::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                    std::size_t firstPlans, std::size_t firstSequence,
                                    std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->readRowAt(nbElement, buffer, m_firstElt[COLUMNS] + firstCols, m_firstElt[ROWS] + firstRows,
                                  m_firstElt[PLANS] + firstPlans, m_firstElt[SEQUENCE] + firstSequence,
                                  m_firstElt[SPECTRAL_SERIES] + firstSpectralSeries);
}

bool ImageModelSizeProxy::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                     std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                     std::size_t firstSpectralSeries) {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->writeRowAt(nbElement, buffer, m_firstElt[COLUMNS] + firstCols, m_firstElt[ROWS] + firstRows,
                                   m_firstElt[PLANS] + firstPlans, m_firstElt[SEQUENCE] + firstSequence,
                                   m_firstElt[SPECTRAL_SERIES] + firstSpectralSeries);
}

bool ImageModelSizeProxy::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                   std::size_t firstPlans, std::size_t firstSequence,
                                   std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->getRowAt(nbElement, row, m_firstElt[COLUMNS] + firstCols, m_firstElt[ROWS] + firstRows,
                                 m_firstElt[PLANS] + firstPlans, m_firstElt[SEQUENCE] + firstSequence,
                                 m_firstElt[SPECTRAL_SERIES] + firstSpectralSeries);
}

bool ImageModelSizeProxy::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                        std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                        std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->getConstRowAt(nbElement, row, m_firstElt[COLUMNS] + firstCols, m_firstElt[ROWS] + firstRows,
                                      m_firstElt[PLANS] + firstPlans, m_firstElt[SEQUENCE] + firstSequence,
                                      m_firstElt[SPECTRAL_SERIES] + firstSpectralSeries);
}

std::vector<std::size_t> ImageModelSizeProxy::firstElement() const {
    return m_firstElt;
}

}  // namespace rix
