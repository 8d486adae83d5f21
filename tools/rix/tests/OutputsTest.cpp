// Where the outputs of a command go: never over each other or over what is not theirs, and through pipes.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "ProgramFixture.h"

namespace rix::cli {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class OutputsTest : public ProgramTest {
protected:
    void SetUp() override {
        ProgramTest::SetUp();
        io::writeImage(folder() / "labels.tif", makeImage<std::uint8_t>({4, 2, 1, 1, 1}, {0, 1, 1, 2, 0, 1, 1, 2}));
    }
    /// Runs a line of a shell with the program on its path.
    Ending shell(const std::string& line) const {
        const std::string program = std::filesystem::path(RIX_PROGRAM).parent_path().string();
        Process process("/bin/sh", {"-c", "PATH=" + program + ":$PATH; " + line}, {.folder = folder()});
        const int exitCode = process.wait();
        return {exitCode, process.output(), process.messages()};
    }
    void write(const std::string& name, const std::string& text) const { std::ofstream(folder() / name) << text; }
};

const std::string measure = "rix run LabelAnalysis inputLabelImage=labels.tif measures=PixelCount ";
const std::string rows = "0,1,4\n0,2,2\n";

TEST_F(OutputsTest, ThatAreOneFileAreRefusedHoweverTheyAreNamed) {
    std::filesystem::create_symlink("labels.tif", folder() / "link.csv");
    std::filesystem::create_hard_link(folder() / "labels.tif", folder() / "hard.csv");
    std::filesystem::create_symlink("later.tif", folder() / "dangling.csv");
    std::filesystem::create_directory(folder() / "real");
    std::filesystem::create_directory_symlink("real", folder() / "linked");
    const std::string copy =
        R"({"run": "ConvertImage", "with": {"inputImage": "labels.tif", "outputType": "FLOAT_32_BIT",)"
        R"( "outputImage": "@real"}}, {"write": "@real", "to": "one.tif"})";
    write("twice.json", R"({"steps": [)" + copy + R"(, {"write": "@real", "to": "./one.tif"}]})");
    write("once.json", R"({"steps": [)" + copy + "]}");
    write("zero.json", R"({"steps": [)" + copy + R"(, {"write": "@real", "to": "a.tif\u0000.tif"}]})");
    const std::string labels = contentOf("labels.tif");
    const auto before = files();
    const std::pair<std::string, const char*> cases[] = {
        {measure + "--csv labels.tif", "--csv would go over 'labels.tif'"},
        {measure + "--csv link.csv", "which is also 'labels.tif'"},
        {measure + "--csv hard.csv", "--csv would go over"},
        {"rix run Labeling2d inputObjectImage=labels.tif outputLabelImage=later.tif --csv later.tif", "makes no table"},
        {"rix run AutoThresholdingBright inputGrayImage=labels.tif outputBinaryImage=later.tif --csv dangling.csv",
         "same file"},
        {"rix run AutoThresholdingBright inputGrayImage=labels.tif outputBinaryImage=real/a.tif --csv linked/a.tif",
         "which is also"},
        {"rix recipe twice.json", "step 2 and step 3 go to the same file 'one.tif', which is also './one.tif'"},
        {"rix recipe once.json --record one.tif", "the record"},
        {"rix recipe once.json --record once.json", "the record would go over 'once.json'"},
        {"rix recipe zero.json", "zero byte"},
        {"rix render labels.tif a.png --histogram ./a.png", "same file"},
    };
    for (const auto& [line, message] : cases) {
        const auto ending = shell(line);
        EXPECT_EQ(ending.exitCode, line == "rix recipe zero.json" ? 5 : 2) << line << '\n' << ending.messages;
        EXPECT_THAT(ending.messages, HasSubstr(message)) << line;
        EXPECT_EQ(files(), before) << line;
        EXPECT_EQ(contentOf("labels.tif"), labels) << line;
    }
    // A device takes any number of outputs.
    EXPECT_EQ(shell("rix recipe once.json --record /dev/null").exitCode, 0);
}

TEST_F(OutputsTest, GoToStandardOutputAndPipes) {
    write("all.csv", "before\n");
    auto ending = shell(measure + "--csv /dev/stdout >> all.csv");
    EXPECT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_EQ(contentOf("all.csv"), "before\nFrame,Label,PixelCount\n" + rows);
    ending = shell(measure + "--csv - | tail -n 2");
    EXPECT_EQ(ending.output, rows);
    ending = shell(measure + "--csv - --json");
    EXPECT_EQ(ending.exitCode, 2);

    // Images through pipes, in both formats, each to the next program.
    ending = shell(
        "cat labels.tif | rix run ThresholdingByCriterion inputGrayImage=- comparisonCriterion=GREATER_THAN"
        " comparisonValue=1 outputBinaryImage=-.png | rix info - --statistics --json");
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    const auto info = nlohmann::json::parse(ending.output);
    EXPECT_EQ(info["format"], "PNG");
    EXPECT_EQ(info["statistics"]["mean"], 0.25);
    ending = shell("rix convert labels.tif --drop-metadata -- -.npy | rix info - | grep -c NumPy");
    EXPECT_EQ(ending.output, "1\n") << ending.messages;
    ending = shell("rix render labels.tif - | rix info - | grep -c TIFF");
    EXPECT_EQ(ending.output, "1\n") << ending.messages;
    ending = shell("mkfifo pipe.tif; cat labels.tif > pipe.tif & rix info pipe.tif --statistics | grep maximum");
    EXPECT_THAT(ending.output, HasSubstr("2")) << ending.messages;
    ending = shell("echo nonsense | rix info -");
    EXPECT_EQ(ending.exitCode, 4);
    EXPECT_THAT(ending.messages, HasSubstr("Cannot read the image of standard input."));
    ending = shell("rix info - < /dev/zero");
    EXPECT_THAT(ending.messages, HasSubstr("standard input can't be read: it is a device"));
}

TEST_F(OutputsTest, OfEachFrameAndChannel) {
    // Two frames with thresholds of their own; the bright half of the first is darker than the dark half of the second.
    io::writeImage(folder() / "frames.tif",
                   makeImage<std::uint8_t>({4, 1, 1, 2, 1}, {10, 10, 20, 20, 100, 100, 200, 200}));
    const std::string threshold =
        "rix run AutoThresholdingBright inputGrayImage=frames.tif thresholdCriterion=FACTORISATION outputBinaryImage=";
    const auto values = [&](const char* name) {
        const auto image = io::readImage(folder() / name);
        return std::vector<int>(image->getImageBuffer(), image->getImageBuffer() + 8);
    };
    auto ending = shell(threshold + "first.tif");
    EXPECT_THAT(ending.output, HasSubstr("0      11         applied to all frames\n1      101        not applied\n"));
    EXPECT_EQ(values("first.tif"), (std::vector<int>{0, 0, 1, 1, 1, 1, 1, 1}));
    ending = shell(threshold + "each.tif --each frame");
    EXPECT_EQ(ending.output, "Frame  threshold\n0      11\n1      101\n") << ending.messages;
    EXPECT_EQ(values("each.tif"), (std::vector<int>{0, 0, 1, 1, 0, 0, 1, 1}));
    EXPECT_THAT(shell(threshold + "no.tif --each frme").messages, HasSubstr("did you mean frame?"));

    write("each.json", R"({"steps": [{"run": "AutoThresholdingBright", "each": "frame", "with": {"inputGrayImage":)"
                       R"( "frames.tif", "thresholdCriterion": "FACTORISATION", "outputMeasurement": "t.csv",)"
                       R"( "outputBinaryImage": "recipe.tif"}}]})");
    ending = shell("rix recipe each.json");
    EXPECT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_EQ(values("recipe.tif"), values("each.tif"));
    EXPECT_EQ(contentOf("t.csv"), "Frame,threshold\n0,11\n1,101\n");

    io::writeImage(folder() / "planes.tif", makeImage<std::uint8_t>({5, 1, 2, 1, 1}, {1, 0, 1, 0, 1, 0, 0, 0, 1, 1}));
    ending = shell("rix run Labeling2d inputObjectImage=planes.tif outputLabelImage=l.tif");
    EXPECT_EQ(ending.output, "outputLabelImage  4 objects in 2 planes: 3, 1\n") << ending.messages;
    ending = shell("rix run Labeling3d inputObjectImage=planes.tif outputLabelImage=l.tif");
    EXPECT_EQ(ending.output, "outputLabelImage  3 objects\n") << ending.messages;
}

TEST_F(OutputsTest, TellThatLabelsOfPlanesAreMeasuredAsBodies) {
    io::writeImage(folder() / "planes.tif", makeImage<std::uint8_t>({5, 1, 2, 1, 1}, {1, 0, 1, 0, 1, 0, 0, 0, 1, 1}));
    shell("rix run Labeling2d inputObjectImage=planes.tif outputLabelImage=labels.nrrd");
    shell("rix run ConvertImage inputImage=labels.nrrd outputType=LABEL_16_BIT outputImage=wide.tif");
    EXPECT_THAT(shell("rix info wide.tif").output, HasSubstr("label, each plane by itself"));
    EXPECT_THAT(shell("rix info wide.tif --json").output, HasSubstr("\"labelScope\": \"plane\""));
    const std::string analyse = "rix run LabelAnalysis inputLabelImage=";
    const std::string note = "note: The objects of inputLabelImage were told apart plane by plane";
    EXPECT_THAT(shell(analyse + "wide.tif").messages, HasSubstr(note));
    EXPECT_THAT(shell(analyse + "wide.tif --json").output, HasSubstr(note.substr(6)));
    EXPECT_THAT(shell(analyse + "'wide.tif[axes=tyx]'").messages, Not(HasSubstr("note")));
    EXPECT_THAT(shell(analyse + "'wide.tif[z=1]'").messages, Not(HasSubstr("note")));
    // What is computed of labels is none.
    shell("rix run ArithmeticOperationWithValue inputImage=wide.tif value=1 arithmeticOperator=ADD outputImage=s.tif");
    EXPECT_THAT(shell("rix info s.tif --json").output, HasSubstr("\"labelScope\": null"));
}

TEST_F(OutputsTest, TellHowManyVoxelsWrapped) {
    io::writeImage(folder() / "a.tif", makeImage<std::int16_t>({5, 1, 1, 1, 1}, {-2, 0, 255, 256, 300}));
    const std::string convert = "rix run ConvertImage inputImage=a.tif outputType=";
    auto ending = shell(convert + "UNSIGNED_INTEGER_8_BIT outputImage=b.tif");
    EXPECT_THAT(ending.messages, HasSubstr("note: 3 of 5 voxels of outputImage wrapped: uint8 does not hold"));
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(shell(convert + "UNSIGNED_INTEGER_8_BIT outputImage=b.tif --json").messages, "");
    EXPECT_THAT(shell(convert + "UNSIGNED_INTEGER_8_BIT outputImage=b.tif --json").output,
                HasSubstr("\"wrappedVoxels\": 3"));
    EXPECT_THAT(shell(convert + "FLOAT_32_BIT outputImage=b.tif").messages, Not(HasSubstr("note")));
    EXPECT_THAT(shell(convert + "LABEL_8_BIT outputImage={stem}-b.tif --files a.tif").messages,
                HasSubstr("a.tif  note: 3 of 5"));

    write("wrap.json", R"({"steps": [{"run": "ArithmeticOperationWithValue", "with": {"inputImage": "a.tif",)"
                       R"( "value": 150, "arithmeticOperator": "MULTIPLY", "outputImage": "c.tif"}}]})");
    ending = shell("rix recipe wrap.json");
    EXPECT_THAT(ending.messages, HasSubstr("step 1  note: 3 of 5 voxels of outputImage wrapped: int16"));
    EXPECT_THAT(shell("rix recipe wrap.json --json").output, HasSubstr("\"wrappedVoxels\": 3"));
}

}  // namespace
}  // namespace rix::cli
