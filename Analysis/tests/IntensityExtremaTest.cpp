#include <rix/analysis/IntensityExtrema.h>

#include "Testing.h"

namespace rix::analysis {
namespace {

void expectExtremaOf(const std::vector<double>& values, const IntensityExtremaMsr& actual) {
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -minimum;
    std::int64_t nan = 0;
    std::int64_t infinite = 0;
    for (const double value : values) {
        nan += std::isnan(value) ? 1 : 0;
        infinite += std::isinf(value) ? 1 : 0;
        minimum = std::isfinite(value) ? std::min(minimum, value) : minimum;
        maximum = std::isfinite(value) ? std::max(maximum, value) : maximum;
    }
    EXPECT_THAT(actual.minimum, testing::ElementsAre(minimum));
    EXPECT_THAT(actual.maximum, testing::ElementsAre(maximum));
    EXPECT_THAT(actual.nanCount, testing::ElementsAre(nan));
    EXPECT_THAT(actual.infiniteCount, testing::ElementsAre(infinite));
}

TEST(IntensityExtrema, AreThoseOfTheFiniteVoxelsForEveryTypeLevelAndWidth) {
    for (const VoxelTypes type : test::realTypes) {
        for (const std::size_t width : {1U, 2U, 3U, 7U, 15U, 16U, 17U, 33U, 64U, 67U, 131U, 260U}) {
            const io::MemoryImage image =
                test::makeRandomImage({.voxelType = type, .extents = {width, 3, 1, 2, 2}}, width, test::Extremes::All);
            for (const OptimLevelType level : test::runnableLevels()) {
                SCOPED_TRACE(testing::Message()
                             << helper::voxelTypesToString(type) << ' ' << width << " level " << level);
                IntensityExtrema algorithm;
                algorithm.setAutoCpuDispatch(false);
                algorithm.setOptimLevel(level);
                IntensityExtremaMsr extrema;
                algorithm.setInputImage(&image);
                algorithm.setOutputMeasurement(&extrema);
                algorithm.run();
                EXPECT_EQ(algorithm.getLastRunLevel(), level);
                expectExtremaOf(test::samplesOf<double>(image), extrema);
            }
        }
    }
}

TEST(IntensityExtrema, OfNoFiniteVoxelAreNaNAndOfZerosPositive) {
    IntensityExtrema algorithm;
    const auto extremaOf = [&](VoxelTypes type, std::size_t period, double every, double other) -> const auto& {
        const io::MemoryImage image =
            test::makeImage({.voxelType = type, .extents = {40, 1, 1, 1, 1}},
                            [=](std::size_t c, auto...) { return c % period == 0 ? every : other; });
        algorithm.setInputImage(&image);
        algorithm.run();
        return *algorithm.getOutputMeasurement();
    };
    const auto& none = extremaOf(RIX_FLOAT64, 4, -std::numeric_limits<double>::infinity(), std::nan(""));
    EXPECT_TRUE(std::isnan(none.minimum[0]) && std::isnan(none.maximum[0]));
    EXPECT_EQ(none.nanCount[0], 30);
    EXPECT_EQ(none.infiniteCount[0], 10);
    const auto& zero = extremaOf(RIX_FLOAT32, 3, -0.0, 0.0);
    EXPECT_FALSE(std::signbit(zero.minimum[0]) || std::signbit(zero.maximum[0]));
}

}  // namespace
}  // namespace rix::analysis
