#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Where rows that reach beyond the edges of an image get their values from.
/// @tparam T the sample type of the images; the policy is shared and has no state of a run.
template <class T>
class RIX_EXPORT BorderCondition {
public:
    virtual ~BorderCondition() = default;
    /// Fills [begin, end) with the elements of the row at (row, plane, sequence, spectral) from `column` on; every
    /// coordinate may lie outside the image.
    /// @throws UnexpectedError when the image refuses to be read.
    virtual void getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row,
                         std::int64_t plane, std::int64_t sequence, std::int64_t spectral) const = 0;
};

}  // namespace rix::access
