#include "Statistics.h"

#include <complex>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include <rix/access/VoxelTypeLists.h>
#include <rix/image/MemoryImage.h>

namespace rix::cli {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Extents {
    std::size_t columns = 1, rows = 1, planes = 1, frames = 1, channels = 1;
};

/// An image of the given samples in storage order.
template <class T>
io::MemoryImage makeImage(const Extents& extents, const std::vector<T>& samples) {
    io::MemoryImage image;
    const auto& [columns, rows, planes, frames, channels] = extents;
    EXPECT_TRUE(image.reserve(access::voxelTypeOf<T>, columns, rows, planes, frames, channels));
    EXPECT_EQ(samples.size(), columns * rows * planes * frames * channels);
    std::memcpy(image.getInternalBuffer(), samples.data(), samples.size() * sizeof(T));
    return image;
}

TEST(Statistics, leaveOutWhatIsNoNumberOnAllAxes) {
    const auto some = computeStatistics(makeImage<float>({2, 1, 2, 1, 2}, {1, 2, float(nan), 4, -5, 6, 7, float(nan)}));
    EXPECT_EQ(some.samples(), 8U);
    EXPECT_EQ(some.notANumber(), 2U);
    EXPECT_EQ(some.minimum(), -5);
    EXPECT_EQ(some.maximum(), 7);
    EXPECT_DOUBLE_EQ(some.mean(), 2.5);

    const auto none = computeStatistics(makeImage<double>({2}, {nan, nan}));
    EXPECT_FALSE(none.hasValues());
    EXPECT_EQ(none.notANumber(), 2U);

    const auto complex = computeStatistics(makeImage<std::complex<double>>({2}, {{3, -4}, {0, 1}}));
    EXPECT_EQ(complex.maximum(), 5);
    EXPECT_EQ(complex.mean(), 3);

    // A large row between small ones: what a plain sum would lose stays.
    const auto cancelling = computeStatistics(makeImage<double>({1, 4}, {1e16, 1, 1, -1e16}));
    EXPECT_EQ(cancelling.mean(), 0.5);
}

}  // namespace
}  // namespace rix::cli
