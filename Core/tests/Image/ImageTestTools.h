#pragma once

#include "Testing.h"

namespace rix::test {

inline constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();

/// An image of 16-bit samples whose values are their index in storage order, from 1.
inline io::MemoryImage makeCounted(const Extents& extents) {
    io::MemoryImage image;
    if (!image.reserve(RIX_UINT16, extents[0], extents[1], extents[2], extents[3], extents[4])) {
        throw std::bad_alloc();
    }
    auto* const samples = reinterpret_cast<std::uint16_t*>(image.getImageBuffer());
    std::size_t count = 0;
    if (helper::getElementCount(image, count)) {
        for (std::size_t i = 0; i < count; ++i) {
            samples[i] = static_cast<std::uint16_t>(i + 1);
        }
    }
    return image;
}

inline std::uint16_t countedValue(const Extents& extents, const Extents& position) {
    std::size_t index = 0;
    for (std::size_t i = position.size(); i-- > 0;) {
        index = index * extents[i] + position[i];
    }
    return static_cast<std::uint16_t>(index + 1);
}

/// The 16-bit samples of a row of `image`, copied; empty when the access fails.
inline std::vector<std::uint16_t> readRow(const ImageModel& image, std::size_t count, const Extents& position) {
    std::vector<std::uint16_t> row(count);
    if (!image.readRowAt(count, reinterpret_cast<RawData>(row.data()), position[0], position[1], position[2],
                         position[3], position[4])) {
        row.clear();
    }
    return row;
}

}  // namespace rix::test
