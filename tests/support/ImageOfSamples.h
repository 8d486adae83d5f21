#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/VoxelTypeLists.h>
#include <rix/image/MemoryImage.h>

/// For test programs that link the shared library, as users do; others have `ImageFactories.h`.
namespace rix::test {

struct ImageExtents {
    std::size_t columns = 1, rows = 1, planes = 1, frames = 1, channels = 1;
};

/// An image of the given samples in storage order.
template <class T>
io::MemoryImage imageOfSamples(const ImageExtents& extents, const std::vector<T>& samples) {
    io::MemoryImage image;
    const auto& [columns, rows, planes, frames, channels] = extents;
    EXPECT_TRUE(image.reserve(access::voxelTypeOf<T>, columns, rows, planes, frames, channels));
    EXPECT_EQ(samples.size(), columns * rows * planes * frames * channels);
    std::memcpy(image.getInternalBuffer(), samples.data(), samples.size() * sizeof(T));
    return image;
}

}  // namespace rix::test
