// Runs on images that lie on disk in chunks.

#include <csignal>
#include <fstream>
#include <map>

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>

#include "ProgramFixture.h"

namespace rix::cli {
namespace {

using testing::HasSubstr;

class LargeImages : public ProgramTest {
protected:
    void SetUp() override {
        ProgramTest::SetUp();
        std::vector<std::uint16_t> samples(std::size_t{700} * 500);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i] = static_cast<std::uint16_t>(i * i / 7);
        }
        io::writeImage(folder() / "a.tif", makeImage<std::uint16_t>({700, 500, 1, 1, 1}, samples));
        io::writeImage(folder() / "a.zarr", *io::readImage(folder() / "a.tif"), {.tileColumns = 64, .tileRows = 50});
    }
    std::vector<std::uint8_t> samplesOf(const std::string& name) const {
        const auto image = io::readImage(folder() / name);
        std::size_t elements = 0;
        EXPECT_TRUE(helper::getElementCount(*image, elements));
        return {image->getInternalBuffer(),
                image->getInternalBuffer() + elements * helper::getSizeOf(image->getVoxelType())};
    }
};

TEST_F(LargeImages, GiveWhatMemoryGivesAndComeWhole) {
    for (const char* name : {"a.tif", "a.zarr"}) {
        const std::string output = std::string(name) == "a.tif" ? "b.tif" : "b.zarr";
        const Ending ended = rix({"run", "GaussianFilter2d", std::string("inputImage=") + name, "outputImage=" + output,
                                  "standardDeviationX=3", "standardDeviationY=2", "--spacing", "0.5", "--unit", "mm"});
        ASSERT_EQ(ended.exitCode, 0) << ended.messages;
        EXPECT_THAT(ended.messages, HasSubstr(output + " (700, 500, 1, 1, 1, scalar, uint16, value)"));
    }
    EXPECT_EQ(samplesOf("b.tif"), samplesOf("b.zarr"));
    EXPECT_EQ(io::readImageInfo(folder() / "b.zarr").spacing[ROWS], 0.5);
    EXPECT_EQ(io::readImageInfo(folder() / "b.zarr").spatialUnitName, "mm");
    const Ending json = rix({"run", "GaussianFilter2d", "inputImage=a.zarr[x=10:20]", "outputImage=c.zarr", "--json"});
    EXPECT_EQ(nlohmann::json::parse(json.output)["images"]["outputImage"]["extents"],
              nlohmann::json({10, 500, 1, 1, 1}));
    ASSERT_EQ(rix({"convert", "a.zarr", "d.zarr", "--pyramid", "--compress", "zstd"}).exitCode, 0);
    EXPECT_THAT(rix({"info", "d.zarr[level=1]"}).output, HasSubstr("one of 3 of a pyramid"));
    EXPECT_EQ(files(), (std::set<std::string>{"a.tif", "a.zarr", "b.tif", "b.zarr", "c.zarr", "d.zarr"}));
}

TEST_F(LargeImages, LeaveNothingBehindWhenSomethingFails) {
    std::filesystem::resize_file(folder() / "a.zarr/0/9/10", 30);
    const Ending damaged = rix({"run", "GaussianFilter2d", "inputImage=a.zarr", "outputImage=b.zarr"});
    EXPECT_NE(damaged.exitCode, 0);
    EXPECT_THAT(damaged.messages, HasSubstr("a.zarr/0/9/10"));
    EXPECT_EQ(rix({"run", "GaussianFilter2d", "inputImage=a.tif", "outputImage=none/b.zarr"}).exitCode, 5);
    EXPECT_THAT(rix({"convert", "a.tif", "--", "-.zarr"}).messages, HasSubstr("folder"));
    EXPECT_EQ(rix({"run", "GaussianFilter2d", "inputImage=a.tif", "outputImage=b.tif", "--pyramid"}).exitCode, 5);
    EXPECT_EQ(files(), (std::set<std::string>{"a.tif", "a.zarr"}));
}

TEST_F(LargeImages, TakeLabelsWithin) {
    ASSERT_EQ(rix({"run", "AutoThresholdingBright", "inputGrayImage=a.zarr", "outputBinaryImage=bright.zarr"}).exitCode,
              0);
    const Ending labeled =
        rix({"run", "Labeling2d", "inputObjectImage=bright.zarr", "outputLabelImage=a.zarr/labels/objects"});
    ASSERT_EQ(labeled.exitCode, 0) << labeled.messages;
    const Ending inMemory = rix({"run", "Labeling2d", "inputObjectImage=bright.zarr", "outputLabelImage=l.tif"});
    EXPECT_EQ(labeled.output, inMemory.output);
    EXPECT_EQ(io::readImageInfo(folder() / "a.zarr/labels/objects").interpretation, RIX_LABEL);
    EXPECT_EQ(rix({"run", "LabelAnalysis", "inputLabelImage=a.zarr/labels/objects", "measures=PixelCount"}).exitCode,
              0);
}

TEST_F(LargeImages, FitABudgetOrAreRefusedWithTheNumbers) {
    const std::vector<std::uint8_t> samples(std::size_t{4000} * 3000, 5);
    io::writeImage(folder() / "large.tif", makeImage<std::uint8_t>({4000, 3000, 1, 1, 1}, samples));
    ASSERT_EQ(rix({"convert", "large.tif", "large.zarr"}).exitCode, 0);
    const auto smooth = [&](const char* input, const char* output, const char* memory) {
        return rix({"run", "GaussianFilter2d", std::string("inputImage=") + input, std::string("outputImage=") + output,
                    "standardDeviationX=6", "standardDeviationY=6", "--memory", memory});
    };
    // 46 MiB of floats lie between the axes.
    EXPECT_EQ(smooth("large.zarr", "b.zarr", "16M").exitCode, 0);
    EXPECT_EQ(smooth("large.tif", "b.tif", "300M").exitCode, 0);
    EXPECT_TRUE(samplesOf("b.tif") == samplesOf("b.zarr"));
    const Ending refused = smooth("large.zarr", "c.tif", "20M");  // the result is in memory
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.messages, HasSubstr("0 bytes for its inputs, 11.4 MiB for results"));
    EXPECT_THAT(refused.messages, HasSubstr("--memory allows 20.0 MiB"));
    EXPECT_EQ(smooth("large.tif", "c.tif", "much").exitCode, 2);
    EXPECT_EQ(files(), (std::set<std::string>{"a.tif", "a.zarr", "b.tif", "b.zarr", "large.tif", "large.zarr"}));
    // Each file of a batch has the whole: what those before it took is free again.
    io::writeImage(folder() / "1.png", makeImage<std::uint8_t>({4000, 3000, 1, 1, 1}, samples));
    std::filesystem::copy(folder() / "1.png", folder() / "2.png");
    const Ending batch = rix({"run", "Invert", "inputImage={file}", "outputImage={stem}.zarr", "--memory", "20M",
                              "--files", "1.png", "2.png"});
    EXPECT_EQ(batch.exitCode, 0) << batch.messages;
}

class LargeRecipes : public LargeImages {
protected:
    void SetUp() override {
        LargeImages::SetUp();
        // 16 x 16 objects in noise, 2 bytes an element: 4 MiB.
        std::vector<std::uint16_t> samples(std::size_t{1600} * 1300);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const bool isObject = i % 1600 / 50 % 2 != 0 && i / 1600 / 40 % 2 != 0;
            samples[i] = static_cast<std::uint16_t>((isObject ? 40000 : 10000) + i * i / 7 % 10000);
        }
        const auto image = makeImage<std::uint16_t>({1600, 1300, 1, 1, 1}, samples);
        for (const char* name : {"b.tif", "b.png", "c.zarr"}) {
            io::writeImage(folder() / name, image);
        }
        std::filesystem::create_directory(folder() / "temporary");
        ::setenv("RIX_TEMPORARY_DATA_DIRECTORY", (folder() / "temporary").c_str(), 1);
    }
    void TearDown() override {
        EXPECT_TRUE(std::filesystem::is_empty(folder() / "temporary"));
        ::unsetenv("RIX_TEMPORARY_DATA_DIRECTORY");
        LargeImages::TearDown();
    }
    /// Smoothing, changes in place of what steps made and of files, labels, measures; images as they were in between.
    void writeRecipe(const std::string& name, const std::string& more) const {
        std::ofstream(folder() / name) << R"({"parameters": {"out": "."}, "steps": [
            {"run": "GaussianFilter2d", "with": {"inputImage": "c.zarr", "standardDeviationX": 5,
                "standardDeviationY": 2, "outputImage": "@smooth"}},
            {"write": "c.zarr", "to": "${out}/before.tif"},
            {"run": "Invert", "with": {"inputImage": "c.zarr", "outputImage": "c.zarr"}},
            {"write": "@smooth", "to": "${out}/smooth.zarr"},
            {"run": "Sample", "with": {"inputImage": "b.png", "changedImage": "b.tif"}},
            {"run": "Sample", "with": {"inputImage": "b.png", "changedImage": "@smooth"}},
            {"run": "Invert", "with": {"inputImage": "b.png", "outputImage": "@b"}},
            {"run": "GammaCorrection", "with": {"inputImage": "@b", "outputImage": "@b"}},
            {"write": "b.tif", "to": "${out}/changed.tif"},
            {"write": "@smooth", "to": "${out}/smooth.tif"},
            {"run": "ThresholdingByCriterion", "with": {"inputGrayImage": "@smooth", "comparisonValue": 32000,
                "comparisonCriterion": "GREATER_THAN", "outputBinaryImage": "@bright"}},
            {"run": "Labeling2d", "with": {"inputObjectImage": "@bright", "outputLabelImage": "${out}/labels.zarr"}},
            {"run": "LabelAnalysis", "with": {"inputLabelImage": "${out}/labels.zarr",
                "inputIntensityImage": "@b", "outputMeasurement": "${out}/objects.csv"}})"
                                       << more << "]}";
    }
    /// What lies in the files below, by their paths.
    std::map<std::string, std::string> contentsOf(const std::string& name) const {
        std::map<std::string, std::string> contents;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder() / name)) {
            if (entry.is_regular_file()) {
                const auto path = std::filesystem::relative(entry.path(), folder() / name);
                contents[path.string()] = contentOf((name / path).string());
            }
        }
        return contents;
    }
};

TEST_F(LargeRecipes, WithinABudgetMakeWhatTheyMakeInMemory) {
    writeRecipe("r.json", "");
    std::filesystem::copy(folder() / "c.zarr", folder() / "kept.zarr", std::filesystem::copy_options::recursive);
    std::map<std::string, std::string> expected;
    std::map<std::string, std::string> expectedInput;
    for (const char* memory : {"", "14M", "30M", "1G"}) {
        const std::string out = std::string("out") + memory;
        std::filesystem::create_directory(folder() / out);
        std::filesystem::remove_all(folder() / "c.zarr");
        std::filesystem::copy(folder() / "kept.zarr", folder() / "c.zarr", std::filesystem::copy_options::recursive);
        std::vector<std::string> arguments{"recipe", "r.json", "out=" + out};
        if (memory[0] != 0) {
            arguments.insert(arguments.end(), {"--memory", memory});
        }
        const Ending ended = sample(arguments);
        ASSERT_EQ(ended.exitCode, 0) << memory << ended.messages;
        if (expected.empty()) {
            expected = contentsOf(out);
            expectedInput = contentsOf("c.zarr");
            EXPECT_NE(expectedInput, contentsOf("kept.zarr"));
            EXPECT_THAT(expected.at("objects.csv"), HasSubstr("\n0,256,"));
        }
        EXPECT_TRUE(contentsOf(out) == expected) << memory;
        EXPECT_TRUE(contentsOf("c.zarr") == expectedInput) << memory;
    }
}

TEST_F(LargeRecipes, MakeRoomOnDiskOrAreRefusedWithTheNumbersAndLeaveNothing) {
    std::ofstream(folder() / "twice.json") << R"({"parameters": {"in": "b.png"}, "steps": [
        {"run": "Invert", "with": {"inputImage": "${in}", "outputImage": "@a"}},
        {"run": "Invert", "with": {"inputImage": "@a", "outputImage": "@b"}},
        {"write": "@b", "to": "twice.tif"}]})";
    const auto before = files();
    const auto twice = [&](const char* memory) { return rix({"recipe", "twice.json", "--memory", memory}); };
    EXPECT_EQ(twice("3M").exitCode, 4);
    const Ending refused = twice("5M");
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.messages, HasSubstr("3.9 MiB for its inputs"));
    EXPECT_THAT(refused.messages, HasSubstr("--memory allows 5.0 MiB"));
    EXPECT_THAT(refused.messages, HasSubstr("step 1 of the recipe"));
    EXPECT_EQ(files(), before);
    for (const char* memory : {"8M", "9M", "12M", "16M"}) {
        EXPECT_EQ(twice(memory).exitCode, 0) << memory;
        EXPECT_EQ(samplesOf("twice.tif"), samplesOf("b.png")) << memory;
    }
}

TEST_F(LargeRecipes, DrawPicturesWhereThereIsRoom) {
    writeRecipe("r.json", R"(, {"render": {"image": "${out}/labels.zarr", "over": "@b"}, "to": "labels.png"})");
    const auto drawn = [&](const std::vector<std::string>& limit) {
        std::vector<std::string> arguments{"recipe", "r.json"};
        arguments.insert(arguments.end(), limit.begin(), limit.end());
        const Ending ended = sample(arguments);
        return ended.exitCode == 0 ? contentOf("labels.png") : ended.messages;
    };
    EXPECT_THAT(drawn({"--memory", "20M"}), HasSubstr("the picture needs 23.8 MiB of memory"));
    const std::string inMemory = drawn({});
    io::writeImage(folder() / "c.zarr", *io::readImage(folder() / "before.tif"));
    EXPECT_TRUE(drawn({"--memory", "40M"}) == inMemory);
}

TEST_F(LargeRecipes, ReadWhatTheyWriteOver) {
    std::ofstream(folder() / "swap.json") << R"({"steps": [{"write": "a.zarr", "to": "c.zarr"},
        {"write": "c.zarr", "to": "a.zarr"}]})";
    const auto a = samplesOf("a.zarr");
    const auto c = samplesOf("c.zarr");
    ASSERT_EQ(rix({"recipe", "swap.json", "--memory", "14M"}).exitCode, 0);
    EXPECT_TRUE(samplesOf("a.zarr") == c);
    EXPECT_TRUE(samplesOf("c.zarr") == a);
}

TEST_F(LargeRecipes, ThatFailOrAreInterruptedLeaveNothing) {
    const auto end = [](const std::string& behaviour) {
        return R"(, {"run": "Sample", "with": {"inputImage": "b.png", "outputImage": "late.tif", "behaviour": ")" +
               behaviour + "\"}}";
    };
    writeRecipe("fails.json", end("FAIL"));
    writeRecipe("waits.json", end("WAIT"));
    const auto before = files();
    const auto input = contentsOf("c.zarr");
    EXPECT_THAT(sample({"recipe", "fails.json", "--memory", "40M"}).messages, HasSubstr("step 14 of the recipe"));
    Process process(RIX_SAMPLE_PROGRAM, {"recipe", "waits.json", "--memory", "40M"}, setup());
    ASSERT_TRUE(process.waitForMessage("sample: running")) << process.messages();
    process.send(SIGINT);
    EXPECT_EQ(process.wait(), 128 + SIGINT) << process.messages();
    EXPECT_EQ(files(), before);
    EXPECT_TRUE(contentsOf("c.zarr") == input);
}

}  // namespace
}  // namespace rix::cli
