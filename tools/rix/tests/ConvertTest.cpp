// Selections behind the names of files, and rix convert.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "ProgramFixture.h"

namespace rix::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Samples = std::vector<int>;

class ConvertTest : public ProgramTest {
protected:
    void SetUp() override {
        ProgramTest::SetUp();
        std::vector<std::uint16_t> samples(4 * 3 * 5);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i] = static_cast<std::uint16_t>(i * 10);
        }
        auto stack = makeImage<std::uint16_t>({4, 3, 5, 1, 1}, samples);
        ASSERT_TRUE(stack.setSpacingOf(PLANS, 0.5));
        ASSERT_TRUE(stack.setSpatialUnitName("mm"));
        io::writeImage(folder() / "stack.tif", stack);
    }
    Samples samplesOf(const std::string& name) const {
        const auto image = io::readImage(folder() / name);
        std::size_t count = 0;
        EXPECT_TRUE(helper::getElementCount(*image, count));
        Samples samples(count);
        access::dispatch(access::Reals{}, image->getVoxelType(), [&](auto tag) {
            using Sample = typename decltype(tag)::type;
            for (std::size_t i = 0; i < count; ++i) {
                Sample sample{};
                std::memcpy(&sample, image->getInternalBuffer() + i * sizeof(Sample), sizeof(Sample));
                samples[i] = static_cast<int>(sample);
            }
        });
        return samples;
    }
};

TEST_F(ConvertTest, WritesPartsInOtherFormatsAndTypes) {
    auto ending = rix({"convert", "stack.tif[z=-2,x=1:3,y=2]", "a.nrrd"});
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_THAT(ending.messages, HasSubstr("written to a.nrrd"));
    EXPECT_EQ(samplesOf("a.nrrd"), (Samples{450, 460}));
    const auto info = io::readImageInfo(folder() / "a.nrrd");
    EXPECT_EQ(info.origin, (std::array<double, 5>{1, 2, 1.5, 0, 0}));
    EXPECT_EQ(info.spacing[PLANS], 0.5);
    EXPECT_EQ(info.spatialUnitName, "mm");
    // Low bits are kept, as ConvertImage documents it.
    ASSERT_EQ(rix({"convert", "stack.tif[z=2,y=0]", "b.tif", "--type", "uint8", "--compress", "lzw"}).exitCode, 0);
    EXPECT_EQ(samplesOf("b.tif"), (Samples{240, 250, 260 - 256, 270 - 256}));
    EXPECT_THAT(io::readImageInfo(folder() / "b.tif").storage, HasSubstr("LZW"));
    ASSERT_EQ(rix({"convert", "stack.tif", "c.tif", "--type", "label32"}).exitCode, 0);
    EXPECT_EQ(io::readImageInfo(folder() / "c.tif").interpretation, RIX_LABEL);
    ASSERT_EQ(rix({"convert", "stack.tif[axes=tyx,t=1:3]", "d.nrrd"}).exitCode, 0);
    EXPECT_EQ(io::readImageInfo(folder() / "d.nrrd").extents, (std::array<std::size_t, 5>{4, 3, 1, 2, 1}));
    ASSERT_EQ(rix({"convert", "stack.tif[z=1:3]", "e.npy", "--no-calibration"}).exitCode, 0);
    EXPECT_EQ(samplesOf("e.npy").size(), 24U);
    // What the output can't hold is refused before samples are read, and leaves nothing.
    for (const auto& [exitCode, arguments, text] :
         std::initializer_list<std::tuple<int, std::vector<std::string>, const char*>>{
             {5, {"stack.tif", "x.png"}, "PNG cannot hold"},
             {5, {"stack.tif[z=1]", "x.bmp", "--type", "uint8"}, "BMP has no place for"},
             {5, {"stack.tif", "x.tif[z=1]"}, "brackets select a part of a file that is read"},
             {4, {"stack.tif[z=5]", "x.tif"}, "z goes from 0 to 4"},
             {4, {"stack.tif[series=1]", "x.tif"}, "one image, series=0"},
             {2, {"stack.tif[z=1:2:3]", "x.tif"}, "has a step"},
             {2, {"stack.tif[5]", "x.tif"}, "The selection '5' means nothing"},
             {4, {"missing.tif[z=1]", "x.tif"}, "'missing.tif'"},
             {2, {"stack.tif", "x.tif", "--type", "unit8"}, "did you mean uint8"},
             {2, {}, "needs the name"},
             {2, {"stack.tif"}, "At least 2 required"},
             {2, {"stack.tif", "{stem}.png"}, "names a part of a file of --files"}}) {
        auto all = arguments;
        all.insert(all.begin(), "convert");
        ending = rix(all);
        EXPECT_EQ(ending.exitCode, exitCode) << testing::PrintToString(arguments) << ending.messages;
        EXPECT_THAT(ending.messages, HasSubstr(text));
    }
    EXPECT_FALSE(std::filesystem::exists(folder() / "x.tif"));
}

TEST_F(ConvertTest, TellsTheWordsThatReadAFileWithoutHeader) {
    const auto ending = rix({"convert", "stack.tif", "a.raw"});
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    const std::string name = "a.raw[type=uint16,size=4x3x5,endian=little,spacing=1x1x0.5,unit=mm]";
    EXPECT_THAT(ending.messages, HasSubstr("note: the file has no header; it is read as '" + name + "'"));
    ASSERT_EQ(rix({"convert", name, "b.tif"}).exitCode, 0);
    EXPECT_EQ(samplesOf("b.tif"), samplesOf("stack.tif"));
    EXPECT_EQ(io::readImageInfo(folder() / "b.tif").spacing[PLANS], 0.5);
    const auto wrong = rix({"info", "a.raw[type=uint16,size=4x3x6]"});
    EXPECT_EQ(wrong.exitCode, 4);
    EXPECT_THAT(wrong.messages, HasSubstr("in 144 bytes; the file has 120 bytes."));
    EXPECT_EQ(rix({"info", "a.raw[type=uint16]"}).exitCode, 2);
    EXPECT_EQ(rix({"convert", "stack.tif[z=0]", "a.jpg", "--type", "uint8", "--quality", "80"}).exitCode, 0);
    EXPECT_EQ(rix({"convert", "stack.tif[z=0]", "a.jpg", "--type", "uint8", "--quality", "0"}).exitCode, 2);
}

TEST_F(ConvertTest, TakesManyFiles) {
    for (const char* name : {"a.tif", "b.tif"}) {
        writeRamp(name, 3, 2);
    }
    std::filesystem::create_directory(folder() / "out");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"convert", "a.tif", "b.tif", "out/{stem}.png"},
          {"convert", "[ab].tif", "out/{stem}.png", "--jobs", "2"},
          {"convert", "{file}", "out/{stem}.png", "--files", "a.tif", "b.tif"},
          {"convert", "[ab].tif[y=:]", "out/{stem}.png"},
          {"convert", "{file}", "out/{stem}.png", "--files", "a.tif[x=0:]", "b.tif"}}) {
        const auto ending = rix(arguments);
        EXPECT_EQ(ending.exitCode, 0) << testing::PrintToString(arguments) << ending.messages;
        EXPECT_THAT(ending.messages, HasSubstr("2 files done"));
        for (const char* name : {"out/a.png", "out/b.png"}) {
            EXPECT_EQ(samplesOf(name), (Samples{0, 1, 2, 3, 4, 5})) << testing::PrintToString(arguments);
        }
        std::filesystem::remove_all(folder() / "out");
        std::filesystem::create_directory(folder() / "out");
    }
    // A part of one of them: the other has it not.
    writeRamp("c.tif", 3, 3);
    const auto ending = rix({"convert", "?.tif[y=2]", "out/{stem}.nrrd"});
    EXPECT_EQ(ending.exitCode, 4);
    EXPECT_THAT(ending.messages, HasSubstr("1 file done, 2 failed: a.tif[y=2], b.tif[y=2]"));
    EXPECT_EQ(samplesOf("out/c.nrrd"), (Samples{6, 7, 8}));
    EXPECT_EQ(rix({"convert", "a.tif", "b.tif", "out/x.png"}).exitCode, 2);
    EXPECT_EQ(rix({"convert", "a.tif", "b.tif", "-"}).exitCode, 2);
}

TEST_F(ConvertTest, SelectionsGoWithEveryName) {
    auto ending = rix({"info", "stack.tif[z=3:,x=-1]", "--json", "--statistics"});
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    const auto info = nlohmann::json::parse(ending.output);
    EXPECT_EQ(info["axes"][2]["size"], 2);
    EXPECT_EQ(info["axes"][2]["origin"], 1.5);
    EXPECT_EQ(info["statistics"]["minimum"], 390);
    EXPECT_EQ(rix({"render", "stack.tif[z=1]", "picture.png"}).exitCode, 0);
    EXPECT_EQ(io::readImageInfo(folder() / "picture.png").extents[ROWS], 3U);
    // Two parts of one file are two images.
    ending = rix({"run", "ArithmeticOperationWithImage", "inputImage1=stack.tif[z=4]", "inputImage2=stack.tif[z=1]",
                  "arithmeticOperator=SUBTRACT", "outputImage=difference.tif"});
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_EQ(samplesOf("difference.tif"), Samples(12, 360));
    // In a recipe, also when the output takes the place of the file.
    std::ofstream(folder() / "convert.json")
        << R"({"parameters": {"image": ""}, "steps": [{"run": "ConvertImage", "with": {"inputImage": "${image}",)"
           R"( "outputType": "FLOAT_32_BIT", "outputImage": "stack.tif"}}]})";
    ending = rix({"recipe", "convert.json", "image=stack.tif[z=2,y=1]"});
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_EQ(samplesOf("stack.tif"), (Samples{280, 290, 300, 310}));
    const auto record = nlohmann::json::parse(contentOf("convert-record.json"));
    EXPECT_EQ(record["inputs"][0]["path"], "stack.tif");
    EXPECT_EQ(record["inputs"][0]["selection"], "z=2,y=1");
    // A file of just that name is that file.
    writeRamp("ramp.tif", 3, 2);
    std::filesystem::rename(folder() / "ramp.tif", folder() / "stack.tif[y=0]");
    EXPECT_EQ(rix({"convert", "stack.tif[y=0]", "named.tif"}).exitCode, 0);
    EXPECT_EQ(samplesOf("named.tif").size(), 6U);
    // Through a pipe.
    Process pipe("/bin/sh", {"-c", "cat named.tif | '" RIX_PROGRAM "' convert -- '-[x=1]' piped.tif"}, setup());
    EXPECT_EQ(pipe.wait(), 0) << pipe.messages();
    EXPECT_THAT(samplesOf("piped.tif"), ElementsAre(1, 4));
}

}  // namespace
}  // namespace rix::cli
