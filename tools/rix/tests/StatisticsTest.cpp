#include "Statistics.h"

#include <complex>
#include <limits>

#include <gtest/gtest.h>

#include <rix/image/MemoryImage.h>

#include "ImageOfSamples.h"

namespace rix::cli {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Statistics, leaveOutWhatIsNoNumberOnAllAxes) {
    const auto some =
        computeStatistics(test::imageOfSamples<float>({2, 1, 2, 1, 2}, {1, 2, float(nan), 4, -5, 6, 7, float(nan)}));
    EXPECT_EQ(some.samples(), 8U);
    EXPECT_EQ(some.notANumber(), 2U);
    EXPECT_EQ(some.minimum(), -5);
    EXPECT_EQ(some.maximum(), 7);
    EXPECT_DOUBLE_EQ(some.mean(), 2.5);

    const auto none = computeStatistics(test::imageOfSamples<double>({2}, {nan, nan}));
    EXPECT_FALSE(none.hasValues());
    EXPECT_EQ(none.notANumber(), 2U);

    const auto complex = computeStatistics(test::imageOfSamples<std::complex<double>>({2}, {{3, -4}, {0, 1}}));
    EXPECT_EQ(complex.maximum(), 5);
    EXPECT_EQ(complex.mean(), 3);

    // A large row between small ones: what a plain sum would lose stays.
    const auto cancelling = computeStatistics(test::imageOfSamples<double>({1, 4}, {1e16, 1, 1, -1e16}));
    EXPECT_EQ(cancelling.mean(), 0.5);
}

}  // namespace
}  // namespace rix::cli
