#include <rix/image/ImageModelFull2d.h>

#include "Image/ViewChecks.h"

namespace rix {

ImageModelFull2d::ImageModelFull2d(ImageModel* real, std::size_t indexPlane, std::size_t indexSequence,
                                   std::size_t indexSpectral)
    : ImageModelBoxView(real) {
    initialize(indexPlane, indexSequence, indexSpectral);
}

ImageModelFull2d::ImageModelFull2d(const ImageModel* real, std::size_t indexPlane, std::size_t indexSequence,
                                   std::size_t indexSpectral)
    : ImageModelBoxView(real) {
    initialize(indexPlane, indexSequence, indexSpectral);
}

ImageModelFull2d::~ImageModelFull2d() = default;

// The texts of the assertions are fixed, blanks included: hence the spelling of the conditions.
void ImageModelFull2d::initialize(std::size_t indexPlane, std::size_t indexSequence, std::size_t indexSpectral) {
    m_numOfColumns = m_realImage->getNumOf(COLUMNS);
    m_numOfRows = m_realImage->getNumOf(ROWS);
    changeCurrentPlane(indexPlane);
    changeCurrentSequence(indexSequence);
    changeCurrentSpectral(indexSpectral);
}

void ImageModelFull2d::changeCurrentPlane(std::size_t indexPlane) {
    RIX_ASSERT_INDEX(indexPlane, PLANS);
    m_indexPlane = indexPlane;
}

void ImageModelFull2d::changeCurrentSequence(std::size_t indexSequence) {
    RIX_ASSERT_INDEX(indexSequence, SEQUENCE);
    m_indexSequence = indexSequence;
}

void ImageModelFull2d::changeCurrentSpectral(std::size_t indexSpectral) {
    RIX_ASSERT_INDEX(indexSpectral, SPECTRAL_SERIES);
    m_indexSpectral = indexSpectral;
}

std::size_t ImageModelFull2d::getNumOf(const Components& component) const {
    switch (component) {
        case COLUMNS: return m_numOfColumns;
        case ROWS: return m_numOfRows;
        default: return 1;
    }
}

bool ImageModelFull2d::contains(std::size_t nbElement, const Position& position) const {
    return detail::isInRow(nbElement, position, m_numOfColumns, m_numOfRows) &&
           detail::expects(position[PLANS] == 0, "firstPlans == 0") && detail::isOnlyVolume(position);
}

ConstRawData ImageModelFull2d::getImageBuffer() const {
    ConstRawData row = nullptr;
    const bool isContiguous = static_cast<const ImageModel*>(m_realImage)->getImageBuffer() != nullptr;
    // An empty plane has no first element to ask for.
    if (!isContiguous || m_numOfColumns == 0 || m_numOfRows == 0 || !getConstRowAt(1, row, 0, 0, 0, 0, 0)) {
        return nullptr;
    }
    return row;
}

RawData ImageModelFull2d::getImageBuffer() {
    RawData row = nullptr;
    const bool isContiguous = m_realImage->getImageBuffer() != nullptr;
    if (!isContiguous || m_numOfColumns == 0 || m_numOfRows == 0 || !getRowAt(1, row, 0, 0, 0, 0, 0)) {
        return nullptr;
    }
    return row;
}

ImageModelBoxView::Position ImageModelFull2d::firstPosition() const {
    return {0, 0, m_indexPlane, m_indexSequence, m_indexSpectral};
}

}  // namespace rix
