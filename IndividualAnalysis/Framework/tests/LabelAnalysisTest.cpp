// The table of an analysis: keys, columns, order, failures, and the same bits for every level, thread count, schedule
// and storage.

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageDetails.h>
#include <rix/image/ImageModelFull2d.h>

#include "ReferenceObjects.h"
#include "Sanitizers.h"

namespace rix::individual_analysis {
namespace {

using namespace test_tools;
using test::makeImage;
using testing::ElementsAre;
using testing::HasSubstr;

/// Bit for bit, NaN included.
void expectSameTable(const vessel::DataFrameView& expected, const vessel::DataFrameView& actual) {
    ASSERT_EQ(expected.getColumnCount(), actual.getColumnCount());
    ASSERT_EQ(expected.getRowCount(), actual.getRowCount());
    for (std::size_t c = 0; c < expected.getColumnCount(); ++c) {
        ASSERT_EQ(expected.getColumnInfo(c), actual.getColumnInfo(c));
        const auto a = column(expected, expected.getColumnInfo(c).name);
        const auto b = column(actual, expected.getColumnInfo(c).name);
        for (std::size_t row = 0; row < a.size(); ++row) {
            ASSERT_EQ(std::bit_cast<std::uint64_t>(a[row]), std::bit_cast<std::uint64_t>(b[row]))
                << expected.getColumnInfo(c).name << ", row " << row << ": " << a[row] << " and " << b[row];
        }
    }
}

/// Patches of random labels: runs of all lengths, objects of several parts.
io::MemoryImage patches(VoxelTypes type, const test::Extents& extents, std::uint64_t seed) {
    return makeImage({.voxelType = type, .extents = extents, .interpretation = RIX_LABEL},
                     [seed](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t) {
                         const std::uint64_t width = 1 + (seed + y / 3) % 13;
                         std::uint64_t h =
                             (x / width + 31 * (y / 4) + 977 * (z / 2) + 7919 * t + seed) * 0x9E3779B97F4A7C15ULL;
                         h ^= h >> 29;
                         return h % 3 == 0 ? 0 : h / 3 % 97;
                     });
}

/// Everything that exists for the images' dimension.
std::string everything(const ImageModel& labels) {
    const std::string both =
        "Basic, Shape, Convexity, Intensity, SecondMoments, Median, Percentile(10), Mean/PixelCount";
    return labels.getNumOf(PLANS) > 1 ? both : both + ", ConvexHull, Area/PixelCount";
}

TEST(LabelAnalysis, GivesARowForEachObjectOfEachFrame) {
    // Frame 0 has labels 5 and 4294967295, frame 1 none, frame 2 label 5 alone.
    io::MemoryImage labels = makeImage({.voxelType = RIX_UINT32, .extents = {4, 2, 1, 3, 1}},
                                       [](std::size_t x, std::size_t y, std::size_t, std::size_t t, std::size_t) {
                                           if (t == 0) {
                                               return x == 3 ? 4294967295U : x == 1 && y == 0 ? 5U : 0U;
                                           }
                                           return t == 2 && x < 2 ? 5U : 0U;
                                       });
    labels.setSpacingOf(COLUMNS, 2.0);
    labels.setSpacingOf(ROWS, 0.5);
    labels.setOriginOf(COLUMNS, 10.0);
    labels.setSpatialUnitName("mm");
    const auto table = analyse(labels, "Area, Barycenter, BoundingBox, TouchesBorder");
    EXPECT_THAT(column(*table, "Frame"), ElementsAre(0, 0, 2));
    EXPECT_THAT(column(*table, "Label"), ElementsAre(5, 4294967295.0, 5));
    EXPECT_THAT(column(*table, "Area"), ElementsAre(1, 2, 4));
    EXPECT_THAT(column(*table, "BarycenterX"), ElementsAre(12, 16, 11));
    EXPECT_THAT(column(*table, "BarycenterY"), ElementsAre(0, 0.25, 0.25));
    EXPECT_THAT(column(*table, "BoundingBoxMinX"), ElementsAre(1, 3, 0));
    EXPECT_THAT(column(*table, "BoundingBoxMaxX"), ElementsAre(1, 3, 1));
    EXPECT_THAT(column(*table, "TouchesBorder"), ElementsAre(1, 1, 1));

    std::vector<std::string> names;
    std::vector<std::string> units;
    for (std::size_t c = 0; c < table->getColumnCount(); ++c) {
        names.push_back(table->getColumnInfo(c).name);
        units.push_back(table->getColumnInfo(c).unit);
    }
    EXPECT_THAT(names, ElementsAre("Frame", "Label", "Area", "BarycenterX", "BarycenterY", "BoundingBoxMinX",
                                   "BoundingBoxMinY", "BoundingBoxMaxX", "BoundingBoxMaxY", "BoundingBoxSizeX",
                                   "BoundingBoxSizeY", "TouchesBorder"));
    EXPECT_THAT(units, ElementsAre("", "", "mm^2", "mm", "mm", "", "", "", "", "mm", "mm", ""));
}

TEST(LabelAnalysis, SaysThatLabelsOfPlanesAreNoBodies) {
    io::MemoryImage labels = patches(RIX_UINT8, {9, 8, 3, 1, 1}, 1);
    LabelAnalysis algorithm;
    const auto notes = [&] { return algorithm.getClassInfo().notesOn(algorithm); };
    EXPECT_THAT(notes(), ElementsAre()) << "without an image the run will refuse";
    algorithm.setInputLabelImage(&labels);
    EXPECT_THAT(notes(), ElementsAre());
    helper::setLabelScope(labels, LabelScope::Plane);
    EXPECT_THAT(notes(), ElementsAre(HasSubstr("plane by plane")));
    // One plane of it holds areas.
    const ImageModelFull2d plane(&labels, 0, 0, 0);
    algorithm.setInputLabelImage(&plane);
    EXPECT_THAT(notes(), ElementsAre());
}

TEST(LabelAnalysis, GivesNoRowWithoutObjects) {
    const io::MemoryImage labels = makeImage({.extents = {70, 5, 2, 2, 1}}, [](auto...) { return 0; });
    const io::MemoryImage grey = makeImage({.extents = {70, 5, 2, 2, 1}}, [](auto...) { return 1; });
    const auto table = analyse(labels, everything(labels), &grey);
    EXPECT_EQ(table->getRowCount(), 0U);
    EXPECT_GT(table->getColumnCount(), 10U);
}

TEST(LabelAnalysis, JoinsManyObjectsOfManyBandsAlikeForEveryThreadCount) {
    // 42 000 objects that are cut by the bands, numbered without gaps, and with wide ones up to the greatest label.
    constexpr std::size_t columns = 1200;
    constexpr std::size_t rows = 1400;
    constexpr std::uint64_t perRow = columns / 5;
    constexpr std::uint64_t objects = perRow * (rows / 8);
    for (const std::uint64_t gap : {std::uint64_t{1}, 4294967295U / objects}) {
        const io::MemoryImage labels =
            makeImage({.voxelType = RIX_UINT32, .extents = {columns, rows, 1, 1, 1}},
                      [=](std::size_t x, std::size_t y, auto...) { return (x / 5 + y / 8 * perRow + 1) * gap; });
        const io::MemoryImage grey = test::makeRandomImage(
            {.voxelType = RIX_FLOAT32, .extents = {columns, rows, 1, 1, 1}}, 3, test::Extremes::None);
        const auto expected = analyse(labels, "All", &grey);
        ASSERT_EQ(expected->getRowCount(), objects);
        EXPECT_THAT(column(*expected, "PixelCount"), testing::Each(40));
        EXPECT_THAT(column(*expected, "EulerNumber"), testing::Each(1));
        EXPECT_THAT(column(*expected, "ConvexArea"), testing::Each(testing::DoubleEq(40)));
        const auto label = column(*expected, "Label");
        const auto left = column(*expected, "BoundingBoxMinX");
        for (std::size_t row = 0; row < objects; ++row) {
            ASSERT_EQ(label[row], static_cast<double>((row + 1) * gap));
            ASSERT_EQ(left[row], static_cast<double>(row % perRow * 5));
        }
        for (const int threads : {2, 3, 7}) {
            expectSameTable(*expected, *analyse(labels, "All", &grey, {threads}));
        }
    }
}

TEST(LabelAnalysis, SumsRunsOfEveryLengthAlikeOnEveryLevel) {
    // Runs of 1, 2, 3, ... pixels with gaps between, then one that fills the accumulators several times.
    const test::Extents extents{90001, 2, 1, 1, 1};
    const io::MemoryImage labels = makeImage(
        {.voxelType = RIX_UINT16, .extents = extents}, [](std::size_t x, std::size_t y, auto...) -> std::uint64_t {
            const auto length =
                static_cast<std::uint64_t>((std::sqrt(8.0 * static_cast<double>(x + y) + 1.0) - 1.0) / 2.0);
            return x > 20000 ? 1 : (x + y - length * (length + 1) / 2 == length ? 0 : 2 + length);
        });
    for (const VoxelTypes type :
         {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16, RIX_UINT32, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        SCOPED_TRACE(helper::voxelTypesToString(type));
        const io::MemoryImage grey = test::makeRandomImage({.voxelType = type, .extents = extents}, 7);
        const auto expected = analyse(labels, "Intensity", &grey);
        for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
            if (!devices::Cpu::supports(level)) {
                continue;
            }
            expectSameTable(*expected, *analyse(labels, "Intensity", &grey, {2, level}));
            // Measures alone, which gather less, have the same bits.
            for (const std::string alone : {"Sum", "Maximum", "StandardDeviation", "Minimum, Sum"}) {
                const std::string name = alone.substr(0, alone.find(','));
                const auto values = column(*analyse(labels, alone, &grey, {2, level}), name);
                const auto all = column(*expected, name);
                EXPECT_EQ(std::memcmp(values.data(), all.data(), all.size() * sizeof(double)), 0) << alone;
            }
        }
    }
}

TEST(LabelAnalysis, IterationOverFramesGivesTheSameTable) {
    const io::MemoryImage labels = patches(RIX_UINT8, {50, 30, 1, 4, 1}, 9);
    LabelAnalysis algorithm;
    algorithm.setInputLabelImage(&labels);
    algorithm.enableIterationOnSequenceAxis(true);
    for (int run = 0; run < 2; ++run) {
        algorithm.run();
        expectSameTable(*analyse(labels, "Basic"), algorithm.getOutputMeasurement()->getTable());
    }
}

TEST(LabelAnalysis, IterationOverChannelsNamesTheChannelOfEachRow) {
    const io::MemoryImage labels = makeImage({.extents = {3, 1, 1, 2, 1}}, [](std::size_t x, auto...) { return x; });
    const io::MemoryImage grey =
        makeImage({.extents = {3, 1, 1, 2, 2}}, [](std::size_t x, std::size_t, std::size_t, std::size_t t,
                                                   std::size_t s) { return 100 * s + 50 * t + 10 * x; });
    LabelAnalysis algorithm;
    algorithm.setInputLabelImage(&labels);
    algorithm.setInputIntensityImage(&grey);
    algorithm.setMeasures("Mean");
    algorithm.enableIterationOnSequenceAxis(true);
    algorithm.enableIterationOnSpectralAxis(true);
    algorithm.run();
    const vessel::DataFrame table = algorithm.getOutputMeasurement()->toDataFrame();
    EXPECT_EQ(table.getColumnInfo(0).name, "Channel");
    EXPECT_THAT(column(table, "Channel"), ElementsAre(0, 0, 0, 0, 1, 1, 1, 1));
    EXPECT_THAT(column(table, "Frame"), ElementsAre(0, 0, 1, 1, 0, 0, 1, 1));
    EXPECT_THAT(column(table, "Mean"), ElementsAre(10, 20, 60, 70, 110, 120, 160, 170));
}

TEST(LabelAnalysis, TakesLabelsOfSeveralChannelsOnlyOneByOne) {
    const io::MemoryImage labels =
        makeImage({.extents = {4, 1, 1, 1, 2}},
                  [](std::size_t x, std::size_t, std::size_t, std::size_t, std::size_t s) { return x >= 2 * s; });
    LabelAnalysis algorithm;
    algorithm.setInputLabelImage(&labels);
    algorithm.setMeasures("PixelCount");
    EXPECT_THAT([&] { algorithm.run(); }, testing::ThrowsMessage<RuleException>(HasSubstr("multispectral")));
    algorithm.enableIterationOnSpectralAxis(true);
    algorithm.run();
    const vessel::DataFrame table = algorithm.getOutputMeasurement()->toDataFrame();
    EXPECT_THAT(column(table, "Channel"), ElementsAre(0, 1));
    EXPECT_THAT(column(table, "PixelCount"), ElementsAre(4, 2));
}

TEST(LabelAnalysis, MeasuresEachChannel) {
    const io::MemoryImage labels = makeImage({.extents = {3, 1, 1, 1, 1}}, [](std::size_t x, auto...) { return x; });
    const io::MemoryImage grey =
        makeImage({.extents = {3, 1, 1, 1, 2}},
                  [](std::size_t x, std::size_t, std::size_t, std::size_t, std::size_t s) { return 10 * x + s; });
    const auto table = analyse(labels, "Mean, PixelCount, 2*Mean", &grey);
    EXPECT_THAT(column(*table, "Mean[0]"), ElementsAre(10, 20));
    EXPECT_THAT(column(*table, "Mean[1]"), ElementsAre(11, 21));
    EXPECT_THAT(column(*table, "2*Mean[1]"), ElementsAre(22, 42));
    EXPECT_THAT(column(*table, "PixelCount"), ElementsAre(1, 1));
}

TEST(LabelAnalysis, FillsTheObjectThatIsSetOrOneOfItsOwn) {
    const io::MemoryImage labels = patches(RIX_UINT8, {50, 30, 1, 1, 1}, 9);
    LabelAnalysis algorithm;
    EXPECT_EQ(algorithm.getOutputMeasurement(), nullptr);
    algorithm.setInputLabelImage(&labels);
    algorithm.run();
    const LabelAnalysisMsr& own = *algorithm.getOutputMeasurement();
    EXPECT_TRUE(own.getTable().findColumn("BarycenterX"));
    algorithm.setMeasures("Nonsense");
    EXPECT_THROW(algorithm.run(), RuleException);
    expectSameTable(*analyse(labels, "Basic"), own.getTable());  // a refused run leaves the last table

    LabelAnalysisMsr given;
    algorithm.setOutputMeasurement(&given);
    algorithm.setMeasures("Area, PixelCount");
    algorithm.run();
    const auto expected = analyse(labels, "Area, PixelCount");
    expectSameTable(*expected, given.getTable());
    expectSameTable(*expected, given.toDataFrame());
    EXPECT_THROW(static_cast<void>(given.getTable().getReals(3)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(given.getTable().getColumnInfo(4)), std::out_of_range);
}

}  // namespace
}  // namespace rix::individual_analysis
