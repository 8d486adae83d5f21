#include <rix/image/ImageModelBoxView.h>

namespace rix {

ImageModelBoxView::~ImageModelBoxView() = default;

bool ImageModelBoxView::toRealImage(std::size_t nbElement, Position& position) const {
    if (!contains(nbElement, position)) {
        return false;
    }
    const Position first = firstPosition();
    for (std::size_t axis = 0; axis < position.size(); ++axis) {
        position[axis] += first[axis];
    }
    return true;
}

bool ImageModelBoxView::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                  std::size_t firstPlans, std::size_t firstSequence,
                                  std::size_t firstSpectralSeries) const {
    Position p{firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries};
    return toRealImage(nbElement, p) && m_realImage->readRowAt(nbElement, buffer, p[0], p[1], p[2], p[3], p[4]);
}

bool ImageModelBoxView::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                   std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                   std::size_t firstSpectralSeries) {
    Position p{firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries};
    return toRealImage(nbElement, p) && m_realImage->writeRowAt(nbElement, buffer, p[0], p[1], p[2], p[3], p[4]);
}

bool ImageModelBoxView::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const {
    Position p{firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries};
    return toRealImage(nbElement, p) && m_realImage->getRowAt(nbElement, row, p[0], p[1], p[2], p[3], p[4]);
}

bool ImageModelBoxView::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                      std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                      std::size_t firstSpectralSeries) const {
    Position p{firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries};
    return toRealImage(nbElement, p) && m_realImage->getConstRowAt(nbElement, row, p[0], p[1], p[2], p[3], p[4]);
}

std::vector<std::size_t> ImageModelBoxView::firstElement() const {
    const Position first = firstPosition();
    return {first.begin(), first.end()};
}

}  // namespace rix
