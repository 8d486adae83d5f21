// Runs on images that lie on disk in chunks.

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
}

}  // namespace
}  // namespace rix::cli
