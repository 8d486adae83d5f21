// The two classes that choose a threshold and apply it, and how generic callers reach their result object.

#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/segmentation/AutoThresholdingBright.h>
#include <rix/segmentation/AutoThresholdingDark.h>

#include "Testing.h"

namespace rix::segmentation {
namespace {

constexpr AutoThresholding::ThresholdCriterionType allCriteria[] = {
    AutoThresholding::ENTROPY, AutoThresholding::FACTORISATION, AutoThresholding::MOMENTS, AutoThresholding::ISODATA};

io::MemoryImage heaps(VoxelTypes type, const test::Extents& extents) {
    io::MemoryImage image =
        test::makeImage({.voxelType = type, .extents = extents}, [](auto c, auto y, auto z, auto t, auto) {
            return (c / 5 + y / 7 + z) % 3 == 0 ? 90 + (c * 7 + y) % 23 + 5 * t : 12 + (c * y) % 19;
        });
    test::setDistinctCalibration(image);
    return image;
}

/// 1 where a voxel is on a side of the threshold, compared as reals.
io::MemoryImage sideOf(const ImageModel& input, double threshold, bool bright) {
    io::MemoryImage side;
    side.enforceSameCharacteristics(&input, SIZE | CALIBRATION);
    EXPECT_TRUE(side.setColorInterpretation(input.getColorInterpretation()));
    EXPECT_TRUE(side.setInterpretation(RIX_BINARY));
    const std::vector<double> values = test::samplesOf<double>(input);
    std::transform(values.begin(), values.end(), side.getInternalBuffer(),
                   [&](double value) { return (bright ? value >= threshold : value < threshold) ? 1 : 0; });
    return side;
}

template <class Algorithm>
io::MemoryImage run(Algorithm&& algorithm, const ImageModel& input, analysis::AutoThresholdingMsr& measurement) {
    io::MemoryImage output;
    algorithm.setInputGrayImage(&input);
    algorithm.setOutputBinaryImage(&output);
    algorithm.setOutputMeasurement(&measurement);
    algorithm.run();
    return output;
}

TEST(AutoThresholding, KeepsOneSideOfTheComputedThresholdAndTheCalibration) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage input = heaps(type, {67, 41, 2, 2, 2});
        for (const auto criterion : allCriteria) {
            analysis::AutoThresholdingValue value;
            analysis::AutoThresholdingMsr expected;
            value.setInputGrayImage(&input);
            value.setThresholdCriterion(criterion);
            value.setOutputMeasurement(&expected);
            value.run();

            AutoThresholdingBright bright;
            AutoThresholdingDark dark;
            bright.setThresholdCriterion(criterion);
            dark.setThresholdCriterion(criterion);
            analysis::AutoThresholdingMsr measurement;
            // The second frame has a threshold of its own, which is not applied.
            EXPECT_TRUE(test::imagesEqual(sideOf(input, expected.threshold[0], true), run(bright, input, measurement)));
            EXPECT_EQ(measurement.threshold.values(), expected.threshold.values());
            ASSERT_EQ(measurement.threshold.size(), 2U);
            EXPECT_TRUE(test::imagesEqual(sideOf(input, expected.threshold[0], false), run(dark, input, measurement)));
        }
    }
}

TEST(AutoThresholding, PutsTheThresholdItselfOnTheBrightSideAndNaNOnNone) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double values[] = {0, 2, 2, 4, nan, 1};  // the middle of the means settles at exactly 2
    const io::MemoryImage input = test::makeImage({.voxelType = RIX_FLOAT32, .extents = {6, 1, 1, 1, 1}},
                                                  [&](std::size_t c, auto...) { return values[c]; });
    AutoThresholdingBright bright;
    AutoThresholdingDark dark;
    bright.setThresholdCriterion(AutoThresholding::ISODATA);
    dark.setThresholdCriterion(AutoThresholding::ISODATA);
    analysis::AutoThresholdingMsr measurement;
    const io::MemoryImage kept = run(bright, input, measurement);
    const io::MemoryImage left = run(dark, input, measurement);
    const double threshold = measurement.threshold[0];
    for (std::size_t c = 0; c < 6; ++c) {
        EXPECT_EQ(kept.getInternalBuffer()[c], values[c] >= threshold ? 1 : 0) << c;
        EXPECT_EQ(left.getInternalBuffer()[c], values[c] < threshold ? 1 : 0) << c;
    }
}

TEST(AutoThresholding, PartsEachFrameByItsOwnThresholdWhenIterated) {
    io::MemoryImage input = heaps(RIX_UINT16, {60, 40, 1, 3, 1});
    AutoThresholdingBright bright;
    bright.enableIterationOnSequenceAxis(true);
    bright.setThresholdCriterion(AutoThresholding::ISODATA);
    analysis::AutoThresholdingMsr all;
    io::MemoryImage output = run(bright, input, all);
    ASSERT_EQ(all.threshold.size(), 3U) << "the result of every pass is kept";
    EXPECT_THAT(all.toDataFrame().getIntegers(0), testing::ElementsAre(0, 1, 2)) << "with its index";
    for (std::size_t t = 0; t < 3; ++t) {
        analysis::AutoThresholdingMsr measurement;
        ImageModelFull2d frame(&input, 0, t, 0);
        ImageModelFull2d outputFrame(&output, 0, t, 0);
        AutoThresholdingBright single;
        single.setThresholdCriterion(AutoThresholding::ISODATA);
        const io::MemoryImage expected = run(single, frame, measurement);
        EXPECT_TRUE(
            test::imagesEqual(expected, outputFrame, {.headers = test::ComparisonOptions::Headers::ExtentsAndTypes}))
            << "frame " << t;
        EXPECT_EQ(measurement.threshold[0], all.threshold[t]);
    }
    // The same object after a run that is not iterated.
    bright.enableIterationOnSequenceAxis(false);
    run(bright, input, all);
    EXPECT_EQ(all.toDataFrame().getColumnCount(), 1U);
}

}  // namespace
}  // namespace rix::segmentation
