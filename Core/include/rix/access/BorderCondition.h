#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Where rows that reach beyond the edges of an image get their values from. The policies are in BorderConditions.h.
/// @tparam T the sample type of the images; the policy is shared and has no state of a run, so that any number of
///         threads may use one at a time.
template <class T>
class RIX_EXPORT BorderCondition {
public:
    virtual ~BorderCondition() = default;
    /// Fills [begin, end) with the elements of the row at (row, plane, sequence, spectral) from `column` on; every
    /// coordinate may lie outside the image. The samples of an element are adjacent, so that the length of the buffer
    /// is a multiple of the samples an element.
    ///
    /// The part inside the image is read with one `ImageModel::readRowAt` straight into the buffer, unless a
    /// description of a policy says otherwise.
    /// @throws UnexpectedError "Error in readRowAt implementation, return value is false" when the image refuses to be
    ///         read.
    /// @throws InvalidCall when the samples of the image are not of the type `T`, when the length of the buffer is no
    ///         multiple of the samples an element, or when a policy repeats elements and the image has none.
    virtual void getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row,
                         std::int64_t plane, std::int64_t sequence, std::int64_t spectral) const = 0;
};

}  // namespace rix::access
