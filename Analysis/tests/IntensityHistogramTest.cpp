// Counts of classes against counting voxel by voxel.

#include <rix/analysis/IntensityHistogram.h>

#include "Testing.h"

namespace rix::analysis {
namespace {

using Counts = std::vector<std::int64_t>;

/// By the definition: the class of every value inside the range.
Counts counted(const std::vector<double>& values, double start, double end, std::size_t classes) {
    Counts counts(classes);
    for (const double value : values) {
        if (value >= start && value <= end) {
            // In halves: the range of all doubles is none.
            const double place = (value / 2 - start / 2) / ((end / 2 - start / 2) / static_cast<double>(classes));
            ++counts[std::min(static_cast<std::size_t>(place), classes - 1)];
        }
    }
    return counts;
}

TEST(IntensityHistogram, CountsTheVoxelsOfEachClass) {
    for (const VoxelTypes type : test::realTypes) {
        SCOPED_TRACE(helper::voxelTypesToString(type));
        const bool isReal = type == RIX_FLOAT32 || type == RIX_FLOAT64;
        const io::MemoryImage image = test::makeRandomImage({.voxelType = type, .extents = {67, 31, 3, 2, 2}}, 3,
                                                            isReal ? test::Extremes::All : test::Extremes::None);
        std::vector<double> values = test::samplesOf<double>(image);
        std::erase_if(values, [](double value) { return !std::isfinite(value); });
        const auto [least, most] = std::minmax_element(values.begin(), values.end());
        IntensityHistogramMsr table;
        IntensityHistogram histogram;
        histogram.setInputImage(&image);
        histogram.setOutputMeasurement(&table);
        histogram.setAutoCpuDispatch(false);
        for (const OptimLevelType level : test::runnableLevels()) {
            histogram.setOptimLevel(level);
            histogram.setRangeMode(IntensityHistogram::MIN_MAX);
            histogram.setNumberOfClasses(100);
            histogram.run();
            EXPECT_EQ(Counts(table.count.begin(), table.count.end()), counted(values, *least, *most, 100));
            EXPECT_EQ(std::accumulate(table.count.begin(), table.count.end(), std::int64_t{0}),
                      static_cast<std::int64_t>(values.size()));
            EXPECT_EQ(table.classStart[0], *least);
            EXPECT_DOUBLE_EQ(table.classStart[25], *least * 0.75 + *most * 0.25);
            histogram.setRangeMode(IntensityHistogram::OTHER);
            histogram.setRangeMinimum(10);
            histogram.setRangeMaximum(74);
            histogram.setNumberOfClasses(64);
            histogram.run();
            EXPECT_EQ(Counts(table.count.begin(), table.count.end()), counted(values, 10, 74, 64));
            EXPECT_EQ(table.classStart[63], 73.0);
        }
    }
}

TEST(IntensityHistogram, OfNothingFiniteHasNoClasses) {
    io::MemoryImage image;
    ASSERT_TRUE(image.reserve(RIX_FLOAT32, 2, 1, 1, 1, 1));
    auto* const samples = reinterpret_cast<float*>(image.getInternalBuffer());
    samples[0] = NAN;
    samples[1] = INFINITY;
    IntensityHistogram histogram;
    histogram.setInputImage(&image);
    histogram.run();
    EXPECT_EQ(histogram.getOutputMeasurement()->count.size(), 0U);
    samples[0] = 7;
    histogram.setNumberOfClasses(3);
    histogram.run();
    EXPECT_EQ(histogram.getOutputMeasurement()->count[2], 1) << "the maximum is in the last class";
    histogram.setRangeMode(IntensityHistogram::OTHER);
    histogram.setRangeMaximum(0);
    EXPECT_THROW(histogram.run(), RuleException);
    histogram.setRangeMode(IntensityHistogram::MIN_MAX);
    histogram.setNumberOfClasses(0);
    EXPECT_THROW(histogram.run(), RuleException);
}

}  // namespace
}  // namespace rix::analysis
