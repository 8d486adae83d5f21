// Plug-ins are really loaded, serve runs, and are gone after they were unloaded. Links the shared library, as plug-ins
// do: with the archive there would be two registries.

#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/rix.h>

namespace rix {
namespace {

std::optional<OptimLevelType> levelThatServes(segmentation::ThresholdingByCriterion::CriterionType criterion) {
    io::MemoryImage input;
    EXPECT_TRUE(input.reserve(RIX_UINT8, 3, 1, 1, 1, 1));
    const std::uint8_t samples[] = {9, 10, 11};
    EXPECT_TRUE(input.writeRowAt(3, samples, 0, 0, 0, 0, 0));
    io::MemoryImage output;
    segmentation::ThresholdingByCriterion algorithm;
    algorithm.setInputGrayImage(&input);
    algorithm.setComparisonCriterion(criterion);
    algorithm.setComparisonValue(10);
    algorithm.setOutputBinaryImage(&output);
    algorithm.run();
    if (criterion == segmentation::ThresholdingByCriterion::GREATER_THAN) {
        EXPECT_THAT(std::vector<std::uint8_t>(output.getInternalBuffer(), output.getInternalBuffer() + 3),
                    testing::ElementsAre(0, 0, 1));
    }
    return algorithm.getLastRunLevel();
}

TEST(Plugins, ServeRunsWhileTheyAreLoaded) {
    using Criterion = segmentation::ThresholdingByCriterion;
    init();
    EXPECT_NE(levelThatServes(Criterion::GREATER_THAN), GPU);
    initPlugins(RIX_EXAMPLE_PLUGINS);
    EXPECT_EQ(levelThatServes(Criterion::GREATER_THAN), GPU);
    EXPECT_NE(levelThatServes(Criterion::LESS_THAN), GPU) << "what the plug-in refuses goes to the built-in runners";
    finishPlugins();
    EXPECT_NE(levelThatServes(Criterion::GREATER_THAN), GPU);
    initPlugins(RIX_EXAMPLE_PLUGINS);
    EXPECT_EQ(levelThatServes(Criterion::GREATER_THAN), GPU);
    finish();
    EXPECT_NE(levelThatServes(Criterion::GREATER_THAN), GPU) << "finish unloads plug-ins";
}

TEST(Plugins, OfAnotherInterfaceVersionAreRefused) {
    try {
        initPlugins(RIX_OUTDATED_PLUGINS);
        FAIL() << "loaded";
    } catch (const LoadingError& error) {
        EXPECT_THAT(error.getMessage(), testing::HasSubstr("interface version 2; this library has version 1"));
        EXPECT_FALSE(error.partiallyLoaded());
    }
    EXPECT_NE(levelThatServes(segmentation::ThresholdingByCriterion::GREATER_THAN), GPU);
}

}  // namespace
}  // namespace rix
