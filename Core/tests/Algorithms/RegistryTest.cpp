// The registry of classes, starting and stopping the library, plug-ins.

#include <filesystem>
#include <fstream>

#include <rix/Library.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/ObjectInfo.h>

#include "TestAlgorithms.h"

namespace rix::test {
namespace {

using testing::HasSubstr;

TEST(Registry, EveryClassIsFoundByItsExactNameAndMakesWorkingObjects) {
    const std::size_t count = AlgoInfo::getNumOfAlgorithm();
    ASSERT_GT(count, 0U);
    std::set<String> names;
    std::vector<String> areas;
    for (std::size_t i = 0; i < count; ++i) {
        AlgoInfo& info = AlgoInfo::getAlgorithmsInfoByIndex(i);
        EXPECT_TRUE(names.insert(info.getName()).second) << info.getName() << " is listed twice";
        EXPECT_EQ(&AlgoInfo::fromName(info.getName()), &info);
        EXPECT_EQ(info.getLibName(), "lumora_rix");
        if (areas.empty() || areas.back() != info.getArea()) {
            areas.push_back(info.getArea());
        }
        const auto algorithm = info.createInstance(nullptr);
        EXPECT_EQ(&algorithm->getClassInfo(), &info);
        EXPECT_TRUE(algorithm->isOptimLevelSupported(SCALAR)) << info.getName() << " has no portable runner";
        EXPECT_FALSE(algorithm->describe().summary.empty()) << info.getName();
        String otherCase = info.getName();
        otherCase[0] = static_cast<char>(std::tolower(otherCase[0]));
        EXPECT_EQ(messageOf<InvalidCall>([&] { AlgoInfo::fromName(otherCase); }),
                  "The className " + otherCase + " does not exist");
    }
    EXPECT_THAT(areas, testing::ElementsAre("point_operations", "manipulation", "smoothing", "rank", "frequency",
                                            "linear", "color", "morphology", "edge_detection", "geometry", "analysis",
                                            "segmentation", "individual_analysis", "synthesis"));
    EXPECT_EQ(messageOf<BadIndex>([&] { AlgoInfo::getAlgorithmsInfoByIndex(count); }),
              "index <" + std::to_string(count) + "> must be less than " + std::to_string(count));
}

TEST(Registry, RunnersAreInsertedInFrontOfOthersAndRemovedOnce) {
    AlgoInfo info("Some", "tests", nullptr, AlgoVisibilityType::PUBLIC_ALGORITHM, "");
    const auto make = [](OptimLevelType level) {
        return std::make_shared<ScriptedRunner>(level, ScriptedRunner::Work());
    };
    const auto scalar = make(SCALAR);
    const auto sse = make(VEC_SSE);
    const auto otherSse = make(VEC_SSE);
    const auto fastSse = make(VEC_SSE);
    const auto gpu = make(GPU);
    info.addRunner(scalar);
    info.addRunner(sse);
    info.insertRunnerBefore(*sse, otherSse);
    info.insertRunnerFirst(fastSse);
    info.insertRunnerFirst(gpu);
    EXPECT_THAT(info.getRunners(), testing::ElementsAre(scalar, fastSse, otherSse, sse, gpu));
    const ScriptedRunner stranger(GPU, {});
    EXPECT_EQ(messageOf<InvalidCall>([&] { info.insertRunnerBefore(stranger, gpu); }),
              "The runner to insert before is none of Some");
    info.removeRunner(otherSse.get());
    info.removeRunner(otherSse.get());
    auto* const owned = new ScriptedRunner(SCALAR, {});
    info.addRunner(owned);
    ASSERT_EQ(info.getRunners().size(), 5U);
    EXPECT_EQ(info.getRunners()[2], sse);
    EXPECT_EQ(info.getRunners().back().get(), owned);
}

TEST(Registry, ClassesOfOthersComeAndGo) {
    AlgoInfo info("Foreign", "elsewhere", nullptr, AlgoVisibilityType::HIDDEN_ALGORITHM, "");
    const std::size_t before = AlgoInfo::getNumOfAlgorithm();
    AlgoInfo::registerClass(info);
    EXPECT_EQ(&AlgoInfo::getAlgorithmsInfoByIndex(before), &info);
    EXPECT_EQ(info.getArea(), "elsewhere");
    AlgoInfo::unregisterClass(info);
    AlgoInfo::registerClass(info, "far away");
    EXPECT_EQ(info.getArea(), "far away");
    AlgoInfo::unregisterClass(info);
    EXPECT_EQ(AlgoInfo::getNumOfAlgorithm(), before);
}

TEST(Objects, AreMadeByName) {
    const auto image =
        std::static_pointer_cast<io::MemoryImage>(ObjectInfo::getObjectInfoFromName("MemoryImage").createInstance());
    EXPECT_EQ(image->getNumOf(COLUMNS), 0U);
    EXPECT_EQ(messageOf<InvalidCall>([] { ObjectInfo::getObjectInfoFromName("memoryimage"); }),
              "The className memoryimage does not exist");
}

TEST(Library, InitAndFinishAlternate) {
    constexpr const char* key = "RIX_LIBRARY_INITIALIZED";
    init();
    EXPECT_EQ(globalSettings().getValue(key), "true");
    init();
    finish();
    EXPECT_EQ(globalSettings().getValue(key), "false");
    EXPECT_GT(AlgoInfo::getNumOfAlgorithm(), 0U) << "finish must not empty the registry";
    init();
    EXPECT_EQ(globalSettings().getValue(key), "true");
    finish();

    // A setting that says "initialised" (from the environment, say) makes init do nothing, and all works all the same.
    globalSettings().setValue(key, "T");
    init();
    EXPECT_EQ(globalSettings().getValue(key), "T");
    EXPECT_GE(devices::Cpu::logicalProcessors(), 1U);
    EXPECT_TRUE(devices::Cpu::supports(SCALAR));
    EXPECT_FALSE(devices::Cpu::supports(GPU));
    globalSettings().remove(key);
}

TEST(Cpu, IsToldToHaveAvx512WhereTheCompilerFindsIt) {
    EXPECT_EQ(devices::Cpu::hasAvx512(), __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                                             __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512bw") &&
                                             __builtin_cpu_supports("avx512vl"));
}

TEST(Library, AnyThreadMayStartIt) {
    std::vector<std::thread> threads;
    std::atomic<int> waiting = 4;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (--waiting; waiting > 0;) {
            }
            init();
            EXPECT_TRUE(globalSettings().getValueAsBool("RIX_LIBRARY_INITIALIZED", false));
            EXPECT_TRUE(devices::Cpu::supports(SCALAR));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    finish();
}

TEST(Library, PluginFoldersThatAreNone) {
    EXPECT_THAT(messageOf<FileSystemError>([] { initPlugins("/nowhere/at/all"); }), HasSubstr("/nowhere/at/all"));
    const auto folder = std::filesystem::temp_directory_path() / "rix-plugin-test";
    std::filesystem::create_directories(folder);
    EXPECT_NO_THROW(initPlugins(folder.string())) << "an empty folder";
    std::ofstream(folder / "text.so") << "no library";
    EXPECT_THAT(messageOf<LoadingError>([&] { initPlugins(folder.string()); }), HasSubstr("text.so is no plug-in"));
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace rix::test
