#include <rix/image/ImageModelFull2d.h>

#include "Image/ViewChecks.h"

namespace rix {

ImageModelFull2d::ImageModelFull2d(ImageModel* real, std::size_t indexPlane, std::size_t indexSequence,
                                   std::size_t indexSpectral)
    : ImageModelSizeProxyBase(real) {
    initialize(indexPlane, indexSequence, indexSpectral);
}

ImageModelFull2d::ImageModelFull2d(const ImageModel* real, std::size_t indexPlane, std::size_t indexSequence,
                                   std::size_t indexSpectral)
    : ImageModelSizeProxyBase(real) {
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

bool ImageModelFull2d::contains(std::size_t nbElement, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const {
    using detail::expects;
    return expects(detail::fits(nbElement, firstCols, m_numOfColumns), "( nbElement + firstCols ) <= m_numOfColumns") &&
           expects(firstRows < m_numOfRows, "firstRows < m_numOfRows") && expects(firstPlans == 0, "firstPlans == 0") &&
           expects(firstSequence == 0, "firstSequence == 0") &&
           expects(firstSpectralSeries == 0, "firstSpectralSeries == 0");
}

bool ImageModelFull2d::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->readRowAt(nbElement, buffer, firstCols, firstRows, m_indexPlane, m_indexSequence,
                                  m_indexSpectral);
}

bool ImageModelFull2d::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                  std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                  std::size_t firstSpectralSeries) {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->writeRowAt(nbElement, buffer, firstCols, firstRows, m_indexPlane, m_indexSequence,
                                   m_indexSpectral);
}

bool ImageModelFull2d::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->getRowAt(nbElement, row, firstCols, firstRows, m_indexPlane, m_indexSequence, m_indexSpectral);
}

bool ImageModelFull2d::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                     std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                     std::size_t firstSpectralSeries) const {
    return contains(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) &&
           m_realImage->getConstRowAt(nbElement, row, firstCols, firstRows, m_indexPlane, m_indexSequence,
                                      m_indexSpectral);
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

std::vector<std::size_t> ImageModelFull2d::firstElement() const {
    return {0, 0, m_indexPlane, m_indexSequence, m_indexSpectral};
}

}  // namespace rix
