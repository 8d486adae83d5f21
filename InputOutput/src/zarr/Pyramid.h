#pragma once

#include <rix/image/ImageHeader.h>

#include "../Chunks.h"

namespace rix::io {

/// By which number the extents of an image are divided for the next level of its pyramid: 2 for columns and rows, and
/// for planes that do not lie farther apart than those will; 1 for the other axes.
Extents nextFactors(const ImageHeader& header);
/// Whether a picture is still large enough for another level.
bool needsLevel(const Extents& extents);

/// An image reduced by such factors, computed row by row: means, of integers rounded, at the ends of what there is. Of
/// labels, binary and complex samples it has the first of each group, since their means are none of them.
class ReducedImage final : public HeaderImage {
public:
    ReducedImage(const ImageModel& image, const Extents& factors);

    [[nodiscard]] bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const override;

private:
    const ImageModel& m_image;
    Extents m_factors;
    bool m_takesFirst;
};

}  // namespace rix::io
