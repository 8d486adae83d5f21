#pragma once

#include <vector>

#include <gtest/gtest.h>

#include <rix/access/SampleCast.h>

#include "ImageFactories.h"

namespace rix::test {

/// The samples of one volume (a frame of a channel) in storage order, converted where the image has another type.
template <class T>
std::vector<T> volumeOf(const ImageModel& image, std::size_t sequence, std::size_t spectral) {
    const Extents n = helper::getExtents(image);
    std::vector<std::uint8_t> row(n[COLUMNS] * helper::getElementSize(image));
    std::vector<T> samples(n[COLUMNS] * n[ROWS] * n[PLANS]);
    for (std::size_t line = 0; line < n[ROWS] * n[PLANS] && n[COLUMNS] > 0; ++line) {
        EXPECT_TRUE(image.readRowAt(n[COLUMNS], row.data(), 0, line % n[ROWS], line / n[ROWS], sequence, spectral));
        access::castRowFrom(image.getVoxelType(), row.data(), samples.data() + line * n[COLUMNS], n[COLUMNS]);
    }
    return samples;
}

/// The samples of all volumes in storage order.
template <class T>
std::vector<T> samplesOf(const ImageModel& image) {
    std::vector<T> all;
    for (std::size_t s = 0; s < image.getNumOf(SPECTRAL_SERIES); ++s) {
        for (std::size_t t = 0; t < image.getNumOf(SEQUENCE); ++t) {
            const std::vector<T> volume = volumeOf<T>(image, t, s);
            all.insert(all.end(), volume.begin(), volume.end());
        }
    }
    return all;
}

}  // namespace rix::test
