#pragma once

#include <rix/access/SampleCast.h>
#include <rix/image/ImageModel.h>

namespace rix::test {

/// A sample of a frame's or channel's first image as `double`.
inline double voxelAt(const ImageModel& image, std::size_t x, std::size_t y, std::size_t z, std::size_t channel = 0) {
    alignas(8) std::uint8_t bytes[8] = {};
    double value = 0.0;
    EXPECT_TRUE(image.readRowAt(1, bytes, x, y, z, 0, channel));
    access::castRowFrom(image.getVoxelType(), bytes, &value, 1);
    return value;
}

}  // namespace rix::test
