// The algorithm against histograms and criteria written from their definitions, and what it does at the edges.

#include <rix/analysis/AutoThresholdingValue.h>

#include "ReferenceThresholds.h"

namespace rix::analysis {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Value = AutoThresholdingValue;

constexpr Value::ThresholdCriterionType allCriteria[] = {Value::ENTROPY, Value::FACTORISATION, Value::MOMENTS,
                                                         Value::ISODATA};
constexpr double infinity = std::numeric_limits<double>::infinity();

struct Options {
    OptimLevelType level = SCALAR;
    int threads = 1;
    std::optional<math::Vector2<double>> range = std::nullopt;
};

std::vector<double> thresholds(const ImageModel& image, Value::ThresholdCriterionType criterion,
                               const Options& options = {}) {
    Value algorithm;
    algorithm.settings().setMaximumNumberOfThreads(options.threads);
    algorithm.setAutoCpuDispatch(false);
    algorithm.setOptimLevel(options.level);
    AutoThresholdingMsr measurement;
    algorithm.setInputGrayImage(&image);
    algorithm.setThresholdCriterion(criterion);
    if (options.range) {
        algorithm.setRangeMode(Value::OTHER);
        algorithm.setIntensityInputRange(*options.range);
    }
    algorithm.setOutputMeasurement(&measurement);
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), options.level);
    return {measurement.threshold.begin(), measurement.threshold.end()};
}

bool isInteger(const ImageModel& image) {
    return image.getVoxelType() != RIX_FLOAT32 && image.getVoxelType() != RIX_FLOAT64;
}

/// Two heaps of values, in the range of every type.
io::MemoryImage heaps(VoxelTypes type, const test::Extents& extents, double spread) {
    return test::makeImage({.voxelType = type, .extents = extents}, [=](auto c, auto y, auto z, auto t, auto s) {
        const std::size_t hash = (c * 2654435761U + y * 40503U + z * 97U + t * 31U + s * 7U) >> 3;
        const double noise = static_cast<double>(hash % 1000) / 1000.0 + static_cast<double>(hash / 1000 % 1000) / 1e6;
        const double heap = (c / 5 + y / 7 + t) % 3 == 0 ? 70.0 : 10.0;
        return (heap + 30.0 * noise * noise + static_cast<double>(t + s)) * spread;
    });
}

struct TypeCase {
    VoxelTypes type;
    double spread;  ///< more than 1 makes more than 65535 classes of integers, or uneven ones
};
constexpr TypeCase typeCases[] = {
    {RIX_UINT8, 1},   {RIX_INT8, 1},     {RIX_UINT16, 1},  {RIX_UINT16, 600}, {RIX_INT16, 300},    {RIX_INT16, -300},
    {RIX_UINT32, 90}, {RIX_UINT32, 4e7}, {RIX_INT32, -90}, {RIX_INT32, -2e7}, {RIX_FLOAT32, 1e-3}, {RIX_FLOAT64, 1e5},
};

TEST(AutoThresholdingValue, EqualsTheDefinitionForEveryTypeSizeAndLevel) {
    // The sizes lie on either side of what is worth a table of all values.
    for (const test::Extents& extents : {test::Extents{61, 43, 1, 1, 1}, test::Extents{613, 441, 1, 1, 1}}) {
        for (const auto& [type, spread] : typeCases) {
            const io::MemoryImage image = heaps(type, extents, spread);
            const std::vector<double> values = test::samplesOf<double>(image);
            for (const auto criterion : allCriteria) {
                const double expected =
                    test::referenceThreshold(criterion, values, test::referenceRange(values), isInteger(image));
                for (const OptimLevelType level : test::runnableLevels()) {
                    const auto actual = thresholds(image, criterion, {.level = level});
                    ASSERT_EQ(actual.size(), 1U);
                    const double tolerance =
                        isInteger(image) || criterion != Value::ISODATA ? 0.0 : std::abs(expected) * 1e-13;
                    EXPECT_NEAR(actual[0], expected, tolerance)
                        << helper::voxelTypesToString(type) << " x " << spread << ", criterion " << criterion
                        << ", level " << level << ", " << extents[0] << " columns";
                }
            }
        }
    }
}

TEST(AutoThresholdingValue, GivesOneThresholdAFrameOverTheRangeOfTheWholeImage) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32}) {
        for (const std::size_t channels : {1U, 2U}) {
            const io::MemoryImage image = heaps(type, {64, 50, 2, 3, channels}, 1);
            const auto range = test::referenceRange(test::samplesOf<double>(image));
            for (const auto criterion : allCriteria) {
                const auto actual = thresholds(image, criterion);
                ASSERT_EQ(actual.size(), 3U);
                for (std::size_t frame = 0; frame < 3; ++frame) {
                    const auto values = test::volumeOf<double>(image, frame, 0);
                    const double expected = test::referenceThreshold(criterion, values, range, isInteger(image));
                    EXPECT_NEAR(actual[frame], expected, type == RIX_UINT8 ? 0.0 : 1e-12) << criterion << ' ' << frame;
                }
            }
        }
    }
}

TEST(AutoThresholdingValue, CountsOnlyAGivenRange) {
    // Beside two heaps inside the range: voxels at its widened end, which count, and beyond both ends, which don't.
    const double specials[] = {0, 49, 101, 102, 255};
    const auto value = [&](std::size_t c, std::size_t y, auto...) -> double {
        return c < 5 ? specials[c] : c % 3 == 0 ? 50.0 + static_cast<double>(y % 9) : 88.0 + static_cast<double>(c % 5);
    };
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_UINT32, RIX_FLOAT32}) {
        const io::MemoryImage image = test::makeImage({.voxelType = type, .extents = {40, 30, 1, 1, 1}}, value);
        const auto values = test::samplesOf<double>(image);
        const bool integers = type != RIX_FLOAT32;
        for (const auto criterion : allCriteria) {
            for (const math::Vector2<double>& range :
                 {math::Vector2<double>{50, 100}, math::Vector2<double>{100, 50}, math::Vector2<double>{50.5, 99.25},
                  math::Vector2<double>{-7, 300}, math::Vector2<double>{40, 90}}) {
                const test::ReferenceRange turned{std::min(range.x, range.y), std::max(range.x, range.y)};
                const double expected = test::referenceThreshold(criterion, values, turned, integers);
                const auto actual = thresholds(image, criterion, {.range = range});
                EXPECT_NEAR(actual[0], expected, integers ? 0.0 : 1e-11)
                    << type << " criterion " << criterion << " from " << range.x << " to " << range.y;
            }
            // Where nothing is counted, the first class; the iterated means are those of the voxels themselves.
            const auto nothing = thresholds(image, criterion, {.range = math::Vector2<double>{1e6, 1e17}});
            EXPECT_EQ(nothing[0] == 1e6, criterion != Value::ISODATA);
        }
    }
}

TEST(AutoThresholdingValue, TakesOnlyFiniteVoxelsOfFloatingImages) {
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage plain = heaps(type, {90, 60, 1, 1, 1}, 0.01);
        const io::MemoryImage special = test::makeImage(
            {.voxelType = type, .extents = {90, 80, 1, 1, 1}}, [&](std::size_t c, std::size_t y, auto...) {
                const double specials[] = {std::nan(""), infinity, -infinity};
                return y % 4 == 3 ? specials[c % 3] : test::volumeOf<double>(plain, 0, 0)[c + 90 * (y / 4 * 3 + y % 4)];
            });
        for (const auto criterion : allCriteria) {
            EXPECT_EQ(thresholds(special, criterion), thresholds(plain, criterion)) << criterion;
        }
    }
}

TEST(AutoThresholdingValue, ManagesFloatingImagesOfFewAndOfManyValues) {
    for (const double constant : {7.25, -0.1, 0.0, 1e300, 1e-310}) {
        const io::MemoryImage image =
            test::makeImage({.voxelType = RIX_FLOAT64, .extents = {30, 9, 1, 1, 1}}, [=](auto...) { return constant; });
        EXPECT_THAT(thresholds(image, Value::ENTROPY), ElementsAre(constant));
        EXPECT_THAT(thresholds(image, Value::FACTORISATION), ElementsAre(constant));
        EXPECT_THAT(thresholds(image, Value::MOMENTS), ElementsAre(constant));
        // Its dark side is empty and has the mean 0.
        const double half = std::abs(constant) / 2 < 1e-6 ? constant : constant / 2;
        EXPECT_NEAR(thresholds(image, Value::ISODATA)[0], half, std::abs(half) * 0x1p-50);
    }
    for (const double high : {2.0, 1e-300, 1e308}) {
        const io::MemoryImage image =
            test::makeImage({.voxelType = RIX_FLOAT64, .extents = {30, 9, 1, 1, 1}},
                            [=](std::size_t c, auto...) { return c % 3 == 0 ? high : -high; });
        for (const auto criterion : {Value::ENTROPY, Value::FACTORISATION, Value::MOMENTS}) {
            const double threshold = thresholds(image, criterion)[0];
            EXPECT_GT(threshold, -high) << criterion;
            EXPECT_LE(threshold, high) << criterion;
        }
        EXPECT_LT(std::abs(thresholds(image, Value::ISODATA)[0]), high);
    }
    const io::MemoryImage many = test::makeImage({.voxelType = RIX_FLOAT64, .extents = {1000, 1000, 1, 1, 1}},
                                                 [](std::size_t c, std::size_t y, auto...) {
                                                     const auto rank = static_cast<double>(c + 1000 * y);
                                                     return rank < 700000 ? rank * 1e-3 : 1500.0 + std::sqrt(rank);
                                                 });
    const auto values = test::samplesOf<double>(many);
    for (const auto criterion : allCriteria) {
        const double expected = test::referenceThreshold(criterion, values, test::referenceRange(values), false);
        EXPECT_NEAR(thresholds(many, criterion, {.threads = 2})[0], expected, std::abs(expected) * 1e-13) << criterion;
    }
}

TEST(AutoThresholdingValue, FailsOnAConstantIntegerImageAndSaysWhy) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_INT32}) {
        const io::MemoryImage image =
            test::makeImage({.voxelType = type, .extents = {30, 9, 1, 1, 1}}, [](auto...) { return 42; });
        for (const auto criterion : {Value::ENTROPY, Value::FACTORISATION, Value::ISODATA}) {
            if (const auto exception = test::failureOf<InvalidCall>([&] { thresholds(image, criterion); })) {
                EXPECT_EQ(exception->getMessage(), "The class index must be less than the number of classes 1");
                EXPECT_THAT(exception->getInfo(), HasSubstr("inputGrayImage"));
                EXPECT_THAT(exception->getInfo(), HasSubstr("it is constant (every counted voxel is 42)"));
                EXPECT_THAT(exception->getInfo(), HasSubstr("nothing to separate"));
                EXPECT_THAT(exception->getInfo(), HasSubstr("Error in algorithm AutoThresholdingValue"));
            }
        }
        EXPECT_THAT(thresholds(image, Value::MOMENTS), ElementsAre(42));
    }
}

TEST(AutoThresholdingValue, FailsWhereNoVoxelIsFiniteButNotWhereAFrameHasNone) {
    const auto image = test::makeImage(
        {.voxelType = RIX_FLOAT32, .extents = {8, 8, 1, 2, 1}},
        [](auto, std::size_t y, auto, std::size_t t, auto) { return t == 0 ? infinity : static_cast<double>(y + 3); });
    for (const auto criterion : allCriteria) {
        const auto actual = thresholds(image, criterion);
        EXPECT_EQ(actual[0], 3.0) << "the first class start";
        EXPECT_GT(actual[1], 3.0);
    }
    const ImageModelSizeProxy none(const_cast<io::MemoryImage*>(&image), {0, 0, 0, 0, 0}, {8, 8, 1, 1, 1});
    if (const auto exception = test::failureOf<ProcessingException>([&] { thresholds(none, Value::ENTROPY); })) {
        EXPECT_THAT(exception->getMessage(), HasSubstr("inputGrayImage"));
        EXPECT_THAT(exception->getMessage(), HasSubstr("no finite value"));
    }
}

}  // namespace
}  // namespace rix::analysis
