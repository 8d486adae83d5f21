#include <rix/image/ImageModelFull3d.h>

#include "Image/ViewChecks.h"

namespace rix {

ImageModelFull3d::ImageModelFull3d(ImageModel* real, std::size_t indexSequence, std::size_t indexSpectral)
    : ImageModelBoxView(real) {
    initialize(indexSequence, indexSpectral);
}

ImageModelFull3d::ImageModelFull3d(const ImageModel* real, std::size_t indexSequence, std::size_t indexSpectral)
    : ImageModelBoxView(real) {
    initialize(indexSequence, indexSpectral);
}

ImageModelFull3d::~ImageModelFull3d() = default;

// The texts of the assertions are fixed, blanks included: hence the spelling of the conditions.
void ImageModelFull3d::initialize(std::size_t indexSequence, std::size_t indexSpectral) {
    m_numOfColumns = m_realImage->getNumOf(COLUMNS);
    m_numOfRows = m_realImage->getNumOf(ROWS);
    m_numOfPlanes = m_realImage->getNumOf(PLANS);
    changeCurrentSequence(indexSequence);
    changeCurrentSpectral(indexSpectral);
}

void ImageModelFull3d::changeCurrentSequence(std::size_t indexSequence) {
    RIX_ASSERT_INDEX(indexSequence, SEQUENCE);
    m_indexSequence = indexSequence;
}

void ImageModelFull3d::changeCurrentSpectral(std::size_t indexSpectral) {
    RIX_ASSERT_INDEX(indexSpectral, SPECTRAL_SERIES);
    m_indexSpectral = indexSpectral;
}

std::size_t ImageModelFull3d::getNumOf(const Components& component) const {
    switch (component) {
        case COLUMNS: return m_numOfColumns;
        case ROWS: return m_numOfRows;
        case PLANS: return m_numOfPlanes;
        default: return 1;
    }
}

bool ImageModelFull3d::contains(std::size_t nbElement, const Position& position) const {
    return detail::isInRow(nbElement, position, m_numOfColumns, m_numOfRows) && detail::isOnlyVolume(position) &&
           position[PLANS] < m_numOfPlanes;
}

ImageModelBoxView::Position ImageModelFull3d::firstPosition() const {
    return {0, 0, 0, m_indexSequence, m_indexSpectral};
}

}  // namespace rix
