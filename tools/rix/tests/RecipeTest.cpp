// Recipes through the built program: what they make, what their record says, and that a wrong one is refused before
// anything is read or written.

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ProgramFixture.h"

namespace rix::cli {
namespace {

using testing::HasSubstr;

class RecipeTest : public ProgramTest {
protected:
    void SetUp() override {
        ProgramTest::SetUp();
        writeRamp("in.png", 20, 10);
    }
    void write(const std::string& name, const std::string& text) const { std::ofstream(folder() / name) << text; }

    nlohmann::json readJson(const std::string& name) const {
        std::ifstream file(folder() / name);
        return nlohmann::json::parse(file);
    }
};

constexpr const char* threshold =
    R"({"run": "ThresholdingByCriterion", "with": {"inputGrayImage": "${photo}", "comparisonValue": 100,)"
    R"( "comparisonCriterion": "${how}", "outputBinaryImage": "@bright"}})";

std::string recipeOf(const std::string& steps) {
    return R"({"parameters": {"photo": "in.png", "how": "LESS_THAN"}, "steps": [)" + steps + "]}";
}

TEST_F(RecipeTest, PassesImagesInMemoryWritesAtTheEndAndKeepsARecord) {
    write("chain.json",
          recipeOf(std::string(threshold) +
                   R"(, {"run": "ThresholdingByCriterion", "with": {"inputGrayImage": "@bright", "comparisonValue": 1,)"
                   R"( "outputBinaryImage": "inverse.tif"}},)"
                   R"({"write": "@bright", "to": "bright.tif"},)"
                   R"({"render": ["in.png", {"image": "@bright", "over": "in.png"}], "to": "both.png"})"));
    const auto ending = rix({"recipe", "chain.json", "how=GREATER_THAN"});
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_EQ(files(), (std::set<std::string>{"in.png", "chain.json", "bright.tif", "inverse.tif", "both.png",
                                              "chain-record.json"}));
    const auto bright = io::readImage(folder() / "bright.tif");
    const auto inverse = io::readImage(folder() / "inverse.tif");
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(bright->getImageBuffer()[i], i > 100 ? 1 : 0);
        EXPECT_EQ(inverse->getImageBuffer()[i], i > 100 ? 0 : 1);
    }
    EXPECT_EQ(io::readImageInfo(folder() / "both.png").extents[COLUMNS], 20U + 8U + 20U);

    const auto record = readJson("chain-record.json");
    EXPECT_EQ(record["parameters"]["how"], "GREATER_THAN");
    ASSERT_EQ(record["steps"].size(), 2U);
    EXPECT_EQ(record["steps"][0]["properties"]["comparisonCriterion"], "GREATER_THAN");
    EXPECT_EQ(record["steps"][0]["images"]["outputBinaryImage"], "@bright");
    ASSERT_EQ(record["inputs"].size(), 1U);
    EXPECT_EQ(record["inputs"][0]["path"], "in.png");
    EXPECT_EQ(record["outputs"].size(), 3U);
    // The hash of the recipe, by a program that everybody has.
    const std::string command = "sha256sum " + (folder() / "chain.json").string() + " | cut -c1-64";
    FILE* const pipe = ::popen(command.c_str(), "r");
    char hash[65] = {};
    ASSERT_EQ(std::fread(hash, 1, 64, pipe), 64U);
    ::pclose(pipe);
    EXPECT_EQ(record["recipe"]["sha256"], hash);
}

TEST_F(RecipeTest, IsRefusedBeforeAnythingIsDone) {
    struct Case {
        int exitCode;
        const char* message;
        std::string steps;
        std::vector<std::string> arguments;
    };
    const std::string good = std::string(threshold) + ", ";
    const std::string real = R"({"run": "ConvertImage", "with": {"inputImage": "in.png", "outputType": "FLOAT_32_BIT",)"
                             R"( "outputImage": "@real"}}, )";
    writeRamp("small.png", 5, 4);
    const Case cases[] = {
        {2, "is no JSON", "{", {}},
        {2, "/steps/0: 'wiht' means nothing here", R"({"run": "ThresholdingByCriterion", "wiht": {}})", {}},
        {2, "a step is one of", R"({"run": "A", "write": "@a", "to": "b.tif"})", {}},
        {2, "\"to\" is missing", good + R"({"write": "@bright"})", {}},
        {2, "there is no parameter 'foto'", R"({"write": "${foto}", "to": "b.tif"})", {}},
        {2, "the recipe has no parameter 'fotto'", threshold, {"fotto=x"}},
        {2, "no algorithm 'Thresholding'", R"({"run": "Thresholding", "with": {}})", {}},
        {2, "comparisonCriterion can't be 'BELOW'", threshold, {"how=BELOW"}},
        {2, "no step before makes the image '@brihgt'", good + R"({"write": "@brihgt", "to": "b.tif"})", {}},
        {2,
         "go to the same file",
         good + R"({"write": "@bright", "to": "b.tif"}, {"write": "@bright", "to": "./b.tif"})",
         {}},
        {2, "a list of at least one step", "", {}},
        {3, "must be set", R"({"run": "ThresholdingByCriterion", "with": {"inputGrayImage": "in.png"}})", {}},
        {4, "missing.png", threshold, {"photo=missing.png"}},
        {5, "no folder", good + R"({"write": "@bright", "to": "nowhere/b.tif"})", {}},
        {5, ".tif", good + R"({"render": "@bright", "to": "picture.xyz"})", {}},
        {5, "PNG cannot hold samples of type float32", real + R"({"write": "@real", "to": "a.png"})", {}},
        {5,
         "PNG cannot hold samples of type float32",
         R"({"run": "ConvertImage", "with": {"inputImage": "in.png", "outputType": "FLOAT_32_BIT",)"
         R"( "outputImage": "a.png"}})",
         {}},
        {2,
         "the labels have 20 x 10 pixels, the base has 5 x 4",
         good + R"({"render": {"image": "@bright", "over": "small.png"}, "to": "a.png"})",
         {}},
        {2, "contours need labels", real + R"({"render": {"image": "@real", "numbers": true}, "to": "a.png"})", {}},
    };
    for (const Case& c : cases) {
        write("wrong.json", recipeOf(c.steps));
        const auto before = files();
        std::vector<std::string> arguments{"recipe", "wrong.json"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const auto ending = rix(arguments);
        EXPECT_EQ(ending.exitCode, c.exitCode) << c.message << '\n' << ending.messages;
        EXPECT_THAT(ending.messages, HasSubstr(c.message));
        EXPECT_EQ(ending.output, "") << c.message;
        EXPECT_EQ(files(), before) << c.message;
    }
}

TEST_F(RecipeTest, OfAnyLengthAndAnyNumberIsReadOrRefusedInLittleMemory) {
    write("empty.json", "");
    write("number.json", R"({"steps": [{"run": "ThresholdingByCriterion", "with": {"comparisonValue": 1e400}}]})");
    std::string many;
    for (int i = 0; i < 200000; ++i) {
        many += "${p}";
    }
    write("many.json", R"({"parameters": {"p": ")" + std::string(20000, 'x') + R"("}, "steps": [{"write": ")" + many +
                           R"(", "to": "a.tif"}]})");
    std::string names = R"({"steps": [{"run": "A", "with": {"n0": 1)";
    std::string steps = R"({"steps": [)";
    for (int i = 1; i < 100000; ++i) {
        names += ", \"n" + std::to_string(i) + "\": 1";
        steps += R"({"write": "@a", "to": "b.tif"}, )";
    }
    write("names.json", names + "}}]}");
    write("steps.json", steps + R"({"write": "@a", "to": "b.tif"}]})");
    write("deep.json", std::string(4000000, '['));
    write("zero.json", R"({"steps": [{"write": "a\u0000.tif", "to": "b.tif"}]})");
    struct Case {
        const char* recipe;
        int exitCode;
        const char* message;
    };
    for (const Case& c : {Case{"empty.json", 4, "'empty.json' is empty"}, Case{"number.json", 2, "1e400"},
                          Case{"names.json", 2, "an object of more than 200 names"},
                          Case{"steps.json", 2, "no step before makes the image '@a'"},
                          Case{"deep.json", 2, "nests more than 32 lists"}, Case{"zero.json", 4, "zero byte inside"},
                          Case{"many.json", 2, "is longer than"}, Case{"/dev/zero", 4, "is longer than"}}) {
        const auto ending = rix({"recipe", c.recipe});
        EXPECT_EQ(ending.exitCode, c.exitCode) << ending.messages.substr(0, 1000);
        EXPECT_THAT(ending.messages, HasSubstr(c.message));
    }
}

TEST_F(RecipeTest, WritesWhatAnImageWasAtTheStep) {
    const auto brighter = [](int than) {
        return R"({"run": "ThresholdingByCriterion", "with": {"inputGrayImage": "in.png", "outputBinaryImage": "@b",)"
               R"( "comparisonCriterion": "GREATER_THAN", "comparisonValue": )" +
               std::to_string(than) + "}}";
    };
    write("again.json", recipeOf(brighter(100) + R"(, {"write": "@b", "to": "a.tif"}, )" + brighter(150) +
                                 R"(, {"write": "@b", "to": "b.tif"}, {"write": "@b", "to": "in.png"})"));
    const std::string photograph = contentOf("in.png");
    ASSERT_EQ(rix({"recipe", "again.json"}).exitCode, 0);
    EXPECT_EQ(io::readImage(folder() / "a.tif")->getImageBuffer()[120], 1);
    EXPECT_EQ(io::readImage(folder() / "b.tif")->getImageBuffer()[120], 0);
    // The input whose place an output has taken is recorded as it was read.
    EXPECT_NE(contentOf("in.png"), photograph);
    EXPECT_EQ(readJson("again-record.json")["inputs"][0]["bytes"], photograph.size());
    EXPECT_NE(readJson("again-record.json")["inputs"][0]["sha256"],
              readJson("again-record.json")["outputs"][2]["sha256"]);
}

TEST_F(RecipeTest, PassesTablesInMemoryAndWritesThem) {
    const std::string labelAnalysis =
        R"({"run": "LabelAnalysis", "with": {"inputLabelImage": "in.png", "measures": "Area",)"
        R"( "outputMeasurement": "%"}})";
    const auto into = [&](const std::string& target) {
        return std::string(labelAnalysis).replace(labelAnalysis.find('%'), 1, target);
    };
    write("table.json", recipeOf(into("direct.csv") + ", " + into("@sizes") +
                                 R"(, {"write": "@sizes", "to": "a.csv"}, {"write": "@sizes", "to": "a.json"})"));
    const auto ending = rix({"recipe", "table.json"});
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_THAT(ending.output, HasSubstr("0      40     1\n          ... and 159 more\n")) << "long tables are cut";
    EXPECT_THAT(contentOf("a.csv"), testing::StartsWith("Frame,Label,Area\n0,1,1\n0,2,1\n"));
    EXPECT_EQ(contentOf("direct.csv"), contentOf("a.csv"));
    EXPECT_EQ(readJson("a.json")["columns"][2]["values"].size(), 199U);
    EXPECT_EQ(readJson("table-record.json")["steps"][1]["results"]["outputMeasurement"]["columns"][1]["name"], "Label");
    for (const auto& [exitCode, step] : {std::pair{5, R"({"write": "@sizes", "to": "a.tif"})"},
                                         {5, R"({"write": "@sizes", "to": "nowhere/a.csv"})"},
                                         {2, R"({"render": "@sizes", "to": "a.png"})"},
                                         {2, R"({"render": {"image": "in.png", "numbers": 1}, "to": "a.png"})"}}) {
        write("wrong.json", recipeOf(into("@sizes") + ", " + step));
        EXPECT_EQ(rix({"recipe", "wrong.json"}).exitCode, exitCode) << step;
    }
}

TEST_F(RecipeTest, ChecksTypesThroughTheChainByHeadersAlone) {
    // The second step would only fail after the first one had worked; the dry run knows what the first one makes.
    makeImage<float>({4, 3, 1, 1, 1}, std::vector<float>(12, 1.0F));
    write("in-place.json",
          recipeOf(
              std::string(threshold) +
              R"(, {"run": "Sample", "with": {"inputImage": "@bright", "behaviour": "FAIL", "outputImage": "a.tif"}},)"
              R"({"run": "ThresholdingByCriterion", "with": {"comparisonValue": 1, "outputBinaryImage": "@x"}})"));
    const auto ending = sample({"recipe", "in-place.json"});
    EXPECT_EQ(ending.exitCode, 3) << "the unset image of step 3 is seen before step 2 fails";
    EXPECT_THAT(ending.messages, HasSubstr("step 3 of the recipe (ThresholdingByCriterion)"));
}

TEST_F(RecipeTest, AFailingStepLeavesNoFile) {
    write("fails.json",
          recipeOf(
              std::string(threshold) +
              R"(, {"write": "@bright", "to": "early.tif"},)"
              R"({"run": "Sample", "with": {"inputImage": "@bright", "behaviour": "FAIL", "outputImage": "a.tif"}})"));
    const auto before = files();
    const auto ending = sample({"recipe", "fails.json"});
    EXPECT_EQ(ending.exitCode, 1) << ending.messages;
    EXPECT_THAT(ending.messages, HasSubstr("step 3 of the recipe"));
    EXPECT_EQ(files(), before);
}

TEST_F(RecipeTest, CompletionKnowsTheRegistry) {
    for (const char* shell : {"bash", "zsh"}) {
        const auto ending = rix({"completion", shell});
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_THAT(ending.output, HasSubstr("ThresholdingByCriterion:comparisonCriterion) values=\"LESS_THAN "));
        EXPECT_THAT(ending.output, HasSubstr("recipe"));
    }
    EXPECT_EQ(rix({"completion", "fish"}).exitCode, 2);
    // What the script offers, asked of a real shell.
    const auto offered = [](const std::string& line) {
        const std::string command = std::string("bash -c 'source <(") + RIX_PROGRAM +
                                    " completion bash); COMP_LINE=\"" + line +
                                    "\"; COMP_POINT=${#COMP_LINE}; _rix 2>/dev/null; echo ${COMPREPLY[@]}'";
        FILE* const pipe = ::popen(command.c_str(), "r");
        char words[200] = {};
        EXPECT_NE(std::fgets(words, sizeof(words), pipe), nullptr);
        ::pclose(pipe);
        return std::string(words);
    };
    EXPECT_EQ(offered("rix run ThresholdingByCriterion comparisonCriterion=GR"),
              "GREATER_THAN_OR_EQUAL_TO GREATER_THAN\n");
    EXPECT_EQ(offered("rix run LabelAnalysis measures=Conv"), "Convexity ConvexArea ConvexVolume ConvexHull\n");
    EXPECT_EQ(offered("rix run ImageStatistics measures=Mean,Sk"), "Mean,Skewness\n");
    EXPECT_EQ(offered("rix help Threshold"), "ThresholdingByCriterion\n");
    EXPECT_EQ(offered("rix run ConvertImage --js"), "--json\n");
    const std::string begun = (folder() / "a").string();
    std::ofstream(begun + ".TIF") << "any";
    std::ofstream(begun + ".txt") << "any";
    EXPECT_EQ(offered("rix run ConvertImage inputImage=" + begun), begun + ".TIF\n");
    EXPECT_EQ(offered("rix info " + begun + ".tx"), begun + ".txt\n") << "no image: all files";
}

}  // namespace
}  // namespace rix::cli
