// Many files in one command.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "ProgramFixture.h"

namespace rix::cli {
namespace {

using testing::HasSubstr;
using Names = std::set<std::string>;

class BatchTest : public ProgramTest {
protected:
    void SetUp() override {
        ProgramTest::SetUp();
        std::filesystem::create_directory(folder() / "in");
        std::filesystem::create_directory(folder() / "out");
        for (const char* name : {"in/a.tif", "in/c.tif", "in/d.tif"}) {
            writeRamp(name, name[3] == 'a' ? 2 : 3, 1);
        }
        std::ofstream(folder() / "in/b.tif") << "no image";
    }
    Names made() const {
        Names names;
        for (const auto& entry : std::filesystem::directory_iterator(folder() / "out")) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }
};

TEST_F(BatchTest, GoesOnAfterAFailureAndSaysSo) {
    const std::vector<std::string> arguments{"run", "LabelAnalysis", "inputLabelImage=in/*.tif", "measures=PixelCount"};
    for (const char* jobs : {"1", "3"}) {
        auto all = arguments;
        all.insert(all.end(), {"--jobs", jobs, "--csv", "out/all.csv"});
        const auto ending = rix(all);
        EXPECT_EQ(ending.exitCode, 4);
        EXPECT_THAT(ending.messages, HasSubstr("3 files done, 1 failed: in/b.tif\n"));
        EXPECT_THAT(ending.messages, HasSubstr("  file 'in/b.tif'\n"));
        EXPECT_EQ(contentOf("out/all.csv"),
                  "File,Frame,Label,PixelCount\nin/a.tif,0,1,1\nin/c.tif,0,1,1\nin/c.tif,0,2,1\nin/d.tif,0,1,1\n"
                  "in/d.tif,0,2,1\n");
    }
    auto json = arguments;
    json[2] = "inputLabelImage={file}";
    json.insert(json.end(), {"--json", "--files", "in/b.tif", "in/d.tif"});
    const auto ending = rix(json);
    EXPECT_EQ(ending.messages, "");
    const auto list = nlohmann::json::parse(ending.output);
    EXPECT_EQ(list[0]["error"]["kind"], "unreadable input");
    EXPECT_EQ(list[1]["file"], "in/d.tif");
    EXPECT_EQ(list[1]["results"]["outputMeasurement"]["columns"][2]["values"], (std::vector<int>{1, 1}));
}

TEST_F(BatchTest, NamesOutputsAndRefusesWhatWouldCollide) {
    const std::vector<std::string> convert{"run", "ConvertImage", "inputImage={file}", "outputType=FLOAT_32_BIT"};
    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), convert.begin(), convert.end());
        return rix(more);
    };
    auto ending = with({"outputImage=out/{number}-{stem}.tif", "--files", "in/[acd].tif", "--jobs", "2"});
    EXPECT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_EQ(made(), (Names{"1-a.tif", "2-c.tif", "3-d.tif"}));
    std::filesystem::remove_all(folder() / "out");
    std::filesystem::create_directory(folder() / "out");
    const std::pair<int, std::vector<std::string>> cases[] = {
        {2, {"outputImage=out/x.tif", "--files", "in/a.tif", "in/c.tif"}},  // two outputs in one place
        {2, {"outputImage=in/c.tif", "--files", "in/a.tif", "in/c.tif"}},   // and over an input
        {2, {"outputImage=in/c{extension}.tif", "--files", "in/a.tif", "in/c.tif"}},
        {2, {"outputImage=-", "--files", "in/a.tif"}},
        {2, {"outputImage=out/{stm}.tif", "--files", "in/a.tif"}},
        {2, {"outputImage=out/{stem}.tif"}},                         // no files
        {2, {"--files", "in/a.tif", "outputImage=out/{stem}.tif"}},  // taken for a file
        {4, {"outputImage=out/{stem}.tif", "--files", "in/x*.tif"}},
        {5, {"outputImage=nowhere/{stem}.tif", "--files", "in/a.tif"}},
    };
    for (const auto& [exitCode, arguments] : cases) {
        ending = with(arguments);
        EXPECT_EQ(ending.exitCode, exitCode) << testing::PrintToString(arguments) << ending.messages;
        EXPECT_EQ(made(), Names{}) << testing::PrintToString(arguments);
    }
    // Each in its own place is safe: what is read is complete before it is replaced.
    EXPECT_EQ(with({"outputImage={file}", "--files", "in/a.tif", "in/c.tif"}).exitCode, 0);
    EXPECT_EQ(io::readImageInfo(folder() / "in/c.tif").voxelType, RIX_FLOAT32);
}

TEST_F(BatchTest, OfARecipeJoinsTablesAndRecords) {
    std::ofstream(folder() / "measure.json")
        << R"({"parameters": {"labels": "", "to": "out"}, "steps": [{"run": "LabelAnalysis", "with": {"measures": "PixelCount",)"
           R"( "inputLabelImage": "${labels}", "outputMeasurement": "@sizes"}}, {"write": "@sizes", "to": "${to}/sizes.csv"},)"
           R"( {"render": "${labels}", "to": "out/${labels}.png"}]})";
    std::filesystem::create_directory(folder() / "out/in");
    const auto ending = rix({"recipe", "measure.json", "labels={file}", "--files", "in/*.tif", "--jobs", "2"});
    EXPECT_EQ(ending.exitCode, 4) << ending.messages;
    EXPECT_THAT(ending.messages, HasSubstr("3 files done, 1 failed: in/b.tif"));
    EXPECT_EQ(contentOf("out/sizes.csv").substr(0, 44), "File,Frame,Label,PixelCount\nin/a.tif,0,1,1\ni");
    EXPECT_TRUE(std::filesystem::exists(folder() / "out/in/d.tif.png"));
    std::ifstream file(folder() / "measure-record.json");
    const auto records = nlohmann::json::parse(file);
    ASSERT_EQ(records.size(), 4U);
    EXPECT_EQ(records[1]["error"]["code"], 4);
    EXPECT_EQ(records[3]["steps"][0]["run"], "LabelAnalysis");
    EXPECT_EQ(rix({"recipe", "measure.json", "labels=in/a.tif", "to={folder}"}).exitCode, 2);
}

}  // namespace
}  // namespace rix::cli
