#include <rix/image/ImageModel3dWithFull2d.h>

#include "Image/ViewChecks.h"

namespace rix {

ImageModel3dWithFull2d::ImageModel3dWithFull2d(ImageModel* real, std::size_t firstPlane, std::size_t numberOfPlanes,
                                               std::size_t indexSequence, std::size_t indexSpectral)
    : ImageModelBoxView(real) {
    initialize(firstPlane, numberOfPlanes, indexSequence, indexSpectral);
}

ImageModel3dWithFull2d::ImageModel3dWithFull2d(const ImageModel* real, std::size_t firstPlane,
                                               std::size_t numberOfPlanes, std::size_t indexSequence,
                                               std::size_t indexSpectral)
    : ImageModelBoxView(real) {
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

bool ImageModel3dWithFull2d::contains(std::size_t nbElement, const Position& position) const {
    const std::size_t realPlanes = m_realImage->getNumOf(PLANS);
    const bool isPlaneOfRealImage = m_firstPlane < realPlanes && position[PLANS] < realPlanes - m_firstPlane;
    return detail::isInRow(nbElement, position, m_numOfColumns, m_numOfRows) &&
           detail::expects(isPlaneOfRealImage, "m_firstPlane + firstPlans < m_realImage->getNumOf( PLANS )") &&
           detail::isOnlyVolume(position) && position[PLANS] < m_numOfPlanes;
}

ImageModelBoxView::Position ImageModel3dWithFull2d::firstPosition() const {
    return {0, 0, m_firstPlane, m_indexSequence, m_indexSpectral};
}

}  // namespace rix
