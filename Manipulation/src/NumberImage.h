#pragma once

#include <optional>

#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::manipulation {

/// An image whose grey values are looked at as a whole, as numbers: a binary one as 0 and 1, for which it is copied.
class NumberImage {
public:
    NumberImage(BaseAlgorithm& algorithm, const ImageModel& image, bool isBinary, OptimLevelType level);

    const ImageModel& image() const { return m_copy ? m_copy->image() : m_image; }
    /// Bytes of the copy.
    static std::size_t memory(const ImageModel& image, bool isBinary);

private:
    const ImageModel& m_image;
    std::optional<access::TemporaryImage> m_copy;
};

}  // namespace rix::manipulation
