#include <rix/image/ImageModel3dWithFull2d.h>

#include "Image/ViewChecks.h"

namespace rix {

ImageModel3dWithFull2d::ImageModel3dWithFull2d(ImageModel* real, std::size_t firstPlane, std::size_t numberOfPlanes,
                                               std::size_t indexSequence, std::size_t indexSpectral)
    : ImageModelSizeProxyBase(real) {
    initialize(firstPlane, numberOfPlanes, indexSequence, indexSpectral);
}

ImageModel3dWithFull2d::ImageModel3dWithFull2d(const ImageModel* real, std::size_t firstPlane,
                                               std::size_t numberOfPlanes, std::size_t indexSequence,
                                               std::size_t indexSpectral)
    : ImageModelSizeProxyBase(real) {
    initialize(firstPlane, numberOfPlanes, indexSequence, indexSpectral);
}

ImageModel3dWithFull2d::~ImageModel3dWithFull2d() = default;

// The texts of the assertions are fixed, blanks included: hence the spelling of the conditions.
void ImageModel3dWithFull2d::initialize(std::size_t firstPlane, std::size_t numberOfPlanes, std::size_t indexSequence,
                                        std::size_t indexSpectral) {
    m_numOfColumns = m_realImage->getNumOf(COLUMNS);
    m_numOfRows = m_realImage->getNumOf(ROWS);
    RIX_ASSERT_INDEX(firstPlane, PLANS);
    m_firstPlane = firstPlane;
    m_numOfPlanes = numberOfPlanes;
    changeCurrentSequence(indexSequence);
    changeCurrentSpectral(indexSpectral);
}

void ImageModel3dWithFull2d::changeCurrentSequence(std::size_t indexSequence) {
    RIX_ASSERT_INDEX(indexSequence, SEQUENCE);
    m_indexSequence = indexSequence;
}

void ImageModel3dWithFull2d::changeCurrentSpectral(std::size_t indexSpectral) {
    RIX_ASSERT_INDEX(indexSpectral, SPECTRAL_SERIES);
    m_indexSpectral = indexSpectral;
}

std::size_t ImageModel3dWithFull2d::getNumOf(const Components& component) const {
    switch (component) {
        case COLUMNS: return m_numOfColumns;
        case ROWS: return m_numOfRows;
        case PLANS: return m_numOfPlanes;
        default: return 1;
    }
}

bool ImageModel3dWithFull2d::contains(std::size_t nbElement, std::size_t firstCols, std::size_t firstRows,
                                      std::size_t firstPlans, std::size_t firstSequence,
                                      std::size_t firstSpectralSeries) const {
    using detail::expects;
    const std::size_t realPlanes = m_realImage->getNumOf(PLANS);
    const bool isPlaneOfRealImage = m_firstPlane < realPlanes && firstPlans < realPlanes - m_firstPlane;
    return expects(detail::fits(nbElement, firstCols, m_numOfColumns), "( nbElement + firstCols ) <= m_numOfColumns") &&
           expects(firstRows < m_numOfRows, "firstRows < m_numOfRows") &&
           expects(isPlaneOfRealImage, "m_firstPlane + firstPlans < m_realImage->getNumOf( PLANS )") &&
           expects(firstSequence == 0, "firstSequence == 0") &&
           expects(firstSpectralSeries == 0, "firstSpectralSeries == 0") && firstPlans < m_numOfPlanes;
}

bool ImageModel3dWithFull2d::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols,
                                       std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                       std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->readRowAt(nbElement, buffer, firstCols, firstRows, m_firstPlane + firstPlans, m_indexSequence,
                                  m_indexSpectral);
}

bool ImageModel3dWithFull2d::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                        std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                        std::size_t firstSpectralSeries) {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->writeRowAt(nbElement, buffer, firstCols, firstRows, m_firstPlane + firstPlans, m_indexSequence,
                                   m_indexSpectral);
}

bool ImageModel3dWithFull2d::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                      std::size_t firstPlans, std::size_t firstSequence,
                                      std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->getRowAt(nbElement, row, firstCols, firstRows, m_firstPlane + firstPlans, m_indexSequence,
                                 m_indexSpectral);
}

bool ImageModel3dWithFull2d::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                           std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                           std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->getConstRowAt(nbElement, row, firstCols, firstRows, m_firstPlane + firstPlans, m_indexSequence,
                                      m_indexSpectral);
}

std::vector<std::size_t> ImageModel3dWithFull2d::firstElement() const {
    return {0, 0, m_firstPlane, m_indexSequence, m_indexSpectral};
}

}  // namespace rix
