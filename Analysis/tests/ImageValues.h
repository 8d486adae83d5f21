#pragma once

#include <cstddef>
#include <vector>

#include <rix/access/SampleCast.h>
#include <rix/image/ImageModel.h>

namespace rix::test {

/// The voxels of one frame and channel of an image of a real type.
inline std::vector<double> frameValues(const ImageModel& image, std::size_t frame, std::size_t channel) {
    const auto n = helper::getExtents(image);
    std::vector<std::uint8_t> row(n[COLUMNS] * helper::getElementSize(image));
    std::vector<double> values(n[COLUMNS] * n[ROWS] * n[PLANS]);
    std::size_t at = 0;
    for (std::size_t z = 0; z < n[PLANS]; ++z) {
        for (std::size_t y = 0; y < n[ROWS]; ++y, at += n[COLUMNS]) {
            if (!image.readRowAt(n[COLUMNS], row.data(), 0, y, z, frame, channel)) {
                throw std::logic_error("a row cannot be read");
            }
            access::castRowFrom(image.getVoxelType(), row.data(), values.data() + at, n[COLUMNS]);
        }
    }
    return values;
}

/// The voxels of all frames and channels.
inline std::vector<double> allValues(const ImageModel& image) {
    std::vector<double> all;
    for (std::size_t channel = 0; channel < image.getNumOf(SPECTRAL_SERIES); ++channel) {
        for (std::size_t frame = 0; frame < image.getNumOf(SEQUENCE); ++frame) {
            const std::vector<double> values = frameValues(image, frame, channel);
            all.insert(all.end(), values.begin(), values.end());
        }
    }
    return all;
}

}  // namespace rix::test
