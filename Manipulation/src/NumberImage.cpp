#include "NumberImage.h"

#include <cstring>

#include "PieceRows.h"

namespace rix::manipulation {

NumberImage::NumberImage(BaseAlgorithm& algorithm, const ImageModel& image, bool isBinary, OptimLevelType level)
    : m_image(image) {
    if (isBinary) {
        m_copy.emplace(image, RIX_UINT8);
        const access::PieceInput inputs[] = {{image, RIX_UINT8, true}};
        computePieces(algorithm.executionContext(), {.inputs = inputs, .computedAs = RIX_UINT8}, m_copy->image(), level,
                      [](const Piece& piece) { std::memcpy(piece.out, piece.in[0], piece.count); });
    }
}

std::size_t NumberImage::memory(const ImageModel& image, bool isBinary) {
    return isBinary ? access::TemporaryImage::bytes(image, RIX_UINT8) : 0;
}

}  // namespace rix::manipulation
