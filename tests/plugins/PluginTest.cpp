// Plug-ins are really loaded, serve runs, and are gone after they were unloaded. Links the shared library, as plug-ins
// do: with the archive there would be two registries.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/rix.h>

namespace rix {
namespace {

using testing::HasSubstr;
using Criterion = segmentation::ThresholdingByCriterion::CriterionType;

/// The level that a run was served at: the best one, or the one that is asked for.
std::optional<OptimLevelType> levelThatServes(Criterion criterion, std::optional<OptimLevelType> asked = {}) {
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
    if (asked) {
        algorithm.setAutoCpuDispatch(false);
        algorithm.setOptimLevel(*asked);
    }
    algorithm.run();
    if (criterion == segmentation::ThresholdingByCriterion::GREATER_THAN) {
        EXPECT_THAT(std::vector<std::uint8_t>(output.getInternalBuffer(), output.getInternalBuffer() + 3),
                    testing::ElementsAre(0, 0, 1));
    }
    return algorithm.getLastRunLevel();
}

/// What is said of the plug-ins of a folder when none of them can be loaded.
String refusalOf(const String& folder) {
    try {
        initPlugins(folder);
    } catch (const LoadingError& error) {
        EXPECT_FALSE(error.partiallyLoaded());
        return error.getMessage();
    }
    ADD_FAILURE() << "loaded";
    return {};
}

int runsOfThePlugin() {
    return globalSettings().getValueAsInt32("EXAMPLE_PLUGIN_RUNS", 0);
}

TEST(Plugins, ServeRunsWhileTheyAreLoaded) {
    init();
    EXPECT_NE(levelThatServes(Criterion::GREATER_THAN), GPU);
    initPlugins(RIX_EXAMPLE_PLUGINS);
    EXPECT_EQ(levelThatServes(Criterion::GREATER_THAN), GPU);
    EXPECT_NE(levelThatServes(Criterion::LESS_THAN), GPU) << "what the plug-in refuses goes to the built-in runners";
    finishPlugins();
    EXPECT_NE(levelThatServes(Criterion::GREATER_THAN), GPU);
    globalSettings().setPluginDirectory(RIX_EXAMPLE_PLUGINS);
    initPlugins();
    EXPECT_EQ(levelThatServes(Criterion::GREATER_THAN), GPU);
    finish();
    EXPECT_NE(levelThatServes(Criterion::GREATER_THAN), GPU) << "finish unloads plug-ins";
    globalSettings().setPluginDirectory("");
    initPlugins();
    EXPECT_NE(levelThatServes(Criterion::GREATER_THAN), GPU) << "no folder, no plug-ins";
}

TEST(Plugins, TakeThePlaceOfARunnerOfTheSameLevelWhenTheyAreInFrontOfIt) {
    initPlugins(RIX_EXAMPLE_PLUGINS);
    const int before = runsOfThePlugin();
    EXPECT_EQ(levelThatServes(Criterion::GREATER_THAN, SCALAR), SCALAR);
    EXPECT_EQ(runsOfThePlugin(), before + 1) << "in front";
    EXPECT_EQ(levelThatServes(Criterion::LESS_THAN, SCALAR), SCALAR);
    EXPECT_EQ(runsOfThePlugin(), before + 1) << "what it refuses";
    if (devices::Cpu::supports(VEC_SSE)) {
        EXPECT_EQ(levelThatServes(Criterion::GREATER_THAN, VEC_SSE), VEC_SSE);
        EXPECT_EQ(runsOfThePlugin(), before + 1) << "behind";
    }
    finishPlugins();
    EXPECT_EQ(levelThatServes(Criterion::GREATER_THAN, SCALAR), SCALAR);
    EXPECT_EQ(runsOfThePlugin(), before + 1) << "unloaded";
}

TEST(Plugins, OfAnotherInterfaceVersionAreRefusedBeforeTheirCodeRuns) {
    EXPECT_THAT(refusalOf(RIX_OUTDATED_PLUGINS), HasSubstr("was built for version " + String(version()) +
                                                           " (plug-in interface 3) of the library; this is " +
                                                           "version " + version() + " (plug-in interface 2)"));
    EXPECT_FALSE(globalSettings().exists("OUTDATED_PLUGIN_RAN"));
    EXPECT_NE(levelThatServes(Criterion::GREATER_THAN), GPU);
}

TEST(Plugins, ThatAreNoneOrIncompleteAreRefusedBeforeTheyAreLoaded) {
    const auto folder = std::filesystem::temp_directory_path() / "rix-damaged-plugins";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    const auto refusalOfBytes = [&](const std::string& bytes) {
        std::ofstream(folder / "Damaged.so", std::ios::binary) << bytes;
        return refusalOf(folder.string());
    };
    const auto bytesOf = [](const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    EXPECT_THAT(refusalOfBytes(""), HasSubstr("Damaged.so is no plug-in: it is no shared library"));
    EXPECT_THAT(refusalOfBytes("#!/bin/sh\nexit 0\n"), HasSubstr("it is no shared library"));
    EXPECT_THAT(refusalOfBytes(bytesOf(RIX_NO_PLUGIN)), HasSubstr("is no plug-in: it holds no note"));
    const std::string whole = bytesOf(RIX_EXAMPLE_PLUGINS "/libExamplePlugin.so");
    ASSERT_GT(whole.size(), 4096U);
    for (const std::size_t left :
         {whole.size() - 1, whole.size() - 64, whole.size() / 2, std::size_t{4096}, std::size_t{65}, std::size_t{64}}) {
        EXPECT_THAT(refusalOfBytes(whole.substr(0, left)), HasSubstr("Damaged.so is damaged")) << left << " bytes";
    }
    EXPECT_THAT(refusalOfBytes(whole.substr(0, 63)), HasSubstr("Damaged.so is ")) << "a part of the header";
    std::filesystem::create_directories(folder / "Folder.so");
    EXPECT_THAT(refusalOfBytes(""), HasSubstr("Folder.so cannot be read"));
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace rix
