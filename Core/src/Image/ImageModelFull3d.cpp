#include <rix/image/ImageModelFull3d.h>

#include "Image/ViewChecks.h"

namespace rix {

ImageModelFull3d::ImageModelFull3d(ImageModel* real, std::size_t indexSequence, std::size_t indexSpectral)
    : ImageModelSizeProxyBase(real) {
    initialize(indexSequence, indexSpectral);
}

ImageModelFull3d::ImageModelFull3d(const ImageModel* real, std::size_t indexSequence, std::size_t indexSpectral)
    : ImageModelSizeProxyBase(real) {
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

bool ImageModelFull3d::contains(std::size_t nbElement, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const {
    using detail::expects;
    return expects(detail::fits(nbElement, firstCols, m_numOfColumns), "( nbElement + firstCols ) <= m_numOfColumns") &&
           expects(firstRows < m_numOfRows, "firstRows < m_numOfRows") &&
           expects(firstSequence == 0, "firstSequence == 0") &&
           expects(firstSpectralSeries == 0, "firstSpectralSeries == 0") && firstPlans < m_numOfPlanes;
}

bool ImageModelFull3d::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->readRowAt(nbElement, buffer, firstCols, firstRows, firstPlans, m_indexSequence,
                                  m_indexSpectral);
}

bool ImageModelFull3d::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                  std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                  std::size_t firstSpectralSeries) {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->writeRowAt(nbElement, buffer, firstCols, firstRows, firstPlans, m_indexSequence,
                                   m_indexSpectral);
}

bool ImageModelFull3d::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->getRowAt(nbElement, row, firstCols, firstRows, firstPlans, m_indexSequence, m_indexSpectral);
}

bool ImageModelFull3d::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                     std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                     std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->getConstRowAt(nbElement, row, firstCols, firstRows, firstPlans, m_indexSequence,
                                      m_indexSpectral);
}

std::vector<std::size_t> ImageModelFull3d::firstElement() const {
    return {0, 0, 0, m_indexSequence, m_indexSpectral};
}

}  // namespace rix
