// The thresholds against all divisions there are, and the labels against the thresholds.

#include <cmath>
#include <limits>

#include <rix/segmentation/MultiLevelThresholding.h>

#include "Testing.h"

namespace rix::segmentation {
namespace {

io::MemoryImage thresholdLevels(const ImageModel& input, int classes, MultiLevelThresholdingMsr& table) {
    io::MemoryImage output;
    MultiLevelThresholding algorithm;
    algorithm.setInputGrayImage(&input);
    algorithm.setNumberOfClasses(classes);
    algorithm.setOutputLabelImage(&output);
    algorithm.setOutputMeasurement(&table);
    algorithm.run();
    return output;
}

/// The sum of squared differences to the means of the classes, which the best thresholds make least.
double varianceWithin(const std::vector<double>& values, const std::vector<double>& thresholds) {
    double total = 0.0;
    for (std::size_t c = 0; c <= thresholds.size(); ++c) {
        double sum = 0.0;
        double squares = 0.0;
        double count = 0.0;
        for (const double value : values) {
            if ((c == 0 || value >= thresholds[c - 1]) && (c == thresholds.size() || value < thresholds[c])) {
                sum += value;
                squares += value * value;
                count += 1.0;
            }
        }
        total += count > 0.0 ? squares - sum * sum / count : 0.0;
    }
    return total;
}

/// The least that any thresholds at the given places leave.
double leastVariance(const std::vector<double>& values, const std::vector<double>& places, std::size_t first,
                     std::vector<double> chosen, std::size_t left) {
    if (left == 0) {
        return varianceWithin(values, chosen);
    }
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = first; i < places.size(); ++i) {
        chosen.push_back(places[i]);
        least = std::min(least, leastVariance(values, places, i + 1, chosen, left - 1));
        chosen.pop_back();
    }
    return least;
}

TEST(MultiLevelThresholding, NoOtherThresholdsDivideBetter) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_INT32, RIX_FLOAT64}) {
        const std::int64_t lowest = type == RIX_UINT8 ? 3 : -9;
        const io::MemoryImage input = test::makeImage(
            {.voxelType = type, .extents = {13, 7, 2, 2, 1}}, [&](auto c, auto y, auto z, auto t, auto) {
                return lowest + static_cast<std::int64_t>((c * c * 7 + y * y * 3 + z * 5 + t) % 23);
            });
        const std::vector<double> values = test::samplesOf<double>(input);
        std::vector<double> places;
        for (int i = 1; i < 23; ++i) {
            places.push_back(static_cast<double>(lowest) + i);
        }
        for (const int classes : {2, 3, 4}) {
            MultiLevelThresholdingMsr table;
            const io::MemoryImage labels = thresholdLevels(input, classes, table);
            const std::vector<double> found(table.threshold.begin(), table.threshold.end());
            ASSERT_EQ(found.size(), static_cast<std::size_t>(classes - 1));
            const double least = leastVariance(values, places, 0, {}, static_cast<std::size_t>(classes - 1));
            // Reals are where their classes begin.
            EXPECT_LE(varianceWithin(values, found), least * (type == RIX_FLOAT64 ? 1.01 : 1.0 + 1e-9)) << classes;
            const std::vector<double> classesOf = test::samplesOf<double>(labels);
            for (std::size_t i = 0; i < values.size(); ++i) {
                const auto reached =
                    std::count_if(found.begin(), found.end(), [&](double t) { return values[i] >= t; });
                ASSERT_EQ(classesOf[i], static_cast<double>(reached)) << values[i];
            }
        }
    }
}

TEST(MultiLevelThresholding, FewValuesHaveFewThresholdsAndWhatIsNotFiniteIsNotCounted) {
    MultiLevelThresholdingMsr table;
    const auto few = [](VoxelTypes type, std::int64_t step) {
        return test::makeImage({.voxelType = type, .extents = {9, 3, 1, 1, 1}},
                               [=](auto c, auto, auto, auto, auto) { return static_cast<std::int64_t>(c % 3) * step; });
    };
    thresholdLevels(few(RIX_UINT8, 100), 8, table);
    EXPECT_EQ(std::vector<double>(table.threshold.begin(), table.threshold.end()), (std::vector<double>{1.0, 101.0}));
    const io::MemoryImage constant = thresholdLevels(few(RIX_UINT16, 0), 2, table);
    EXPECT_EQ(table.threshold.size(), 0U);
    EXPECT_EQ(test::samplesOf<double>(constant), std::vector<double>(27, 0.0));

    io::MemoryImage wild = few(RIX_FLOAT32, 1);
    auto* const samples = reinterpret_cast<float*>(wild.getImageBuffer());
    samples[0] = std::numeric_limits<float>::quiet_NaN();
    samples[3] = std::numeric_limits<float>::infinity();
    samples[6] = -std::numeric_limits<float>::infinity();
    const std::vector<double> labels = test::samplesOf<double>(thresholdLevels(wild, 3, table));
    EXPECT_EQ(std::vector<double>(labels.begin(), labels.begin() + 9),
              (std::vector<double>{0, 1, 2, 2, 1, 2, 0, 1, 2}));
    // Classes of 1/256 of the range between 0, 1 and 2, as words of a large range have them, too.
    EXPECT_EQ(std::vector<double>(table.threshold.begin(), table.threshold.end()),
              (std::vector<double>{2.0 / 256, 2.0 * 129 / 256}));
    thresholdLevels(few(RIX_UINT16, 1024), 3, table);
    EXPECT_EQ(std::vector<double>(table.threshold.begin(), table.threshold.end()), (std::vector<double>{8.0, 1032.0}));
}

}  // namespace
}  // namespace rix::segmentation
