// Runs the built program with good and bad arguments.

#include <csignal>
#include <regex>

#include <nlohmann/json.hpp>

#include "ProgramFixture.h"
#include "Sanitizers.h"

namespace rix::cli {
namespace {

using testing::Test;
using Names = std::set<std::string>;

TEST_F(ProgramTest, refusesWithTheRightCodeAndLeavesNothing) {
    writeRamp("in.png", 20, 10);
    writeRamp("other.png", 19, 10);
    std::ofstream(folder() / "text.png") << "no picture";
    const std::string whole = contentOf("in.png");
    std::ofstream(folder() / "cut.png", std::ios::binary) << whole.substr(0, whole.size() / 2);
    std::filesystem::create_directory(folder() / "folder.tif");
    const Names before = files();

    const struct {
        int exitCode;
        const char* message;  ///< what standard error has to tell
        std::vector<std::string> arguments;
    } cases[] = {
        {2, "Usage: rix", {}},
        {2, "did you mean list?", {"lst"}},
        {2, "--frobnicate", {"list", "--frobnicate"}},
        {2, "CLASS is required", {"describe"}},
        {2, "did you mean Sample?", {"describe", "sampel"}},
        {2, "did you mean ThresholdingByCriterion?", {"run", "ThresholdingByCriterio"}},
        {2, "did you mean inputImage?", {"run", "Sample", "inputimage=in.png"}},
        {2, "did you mean WAIT?\n  it takes ", {"run", "Sample", "inputImage=in.png", "behaviour=WIAT"}},
        {2, "RUN_OUT_OF_MEMORY", {"run", "Sample", "behaviour=17"}},
        {2, "count can't be '3x': it takes a value of type", {"run", "Sample", "count=3x"}},
        {2, "count is given twice", {"run", "Sample", "count=1", "count=1"}},
        {2, "'count' is no assignment", {"run", "Sample", "count"}},
        {2, "outputThird is a result", {"run", "Sample", "outputThird=1"}},
        {2, "inputImage needs the path", {"run", "Sample", "inputImage="}},
        {2, "same file", {"run", "Sample", "inputImage=in.png", "outputImage=a.tif", "outputCopy=./a.tif"}},
        {2, "--threads", {"run", "Sample", "--threads", "0"}},
        {2, "--max-level", {"run", "Sample", "--max-level", "fast"}},
        {2, "there is no plane 1: the image has 1", {"render", "in.png", "out.png", "--plane", "1"}},
        {2, "the base has 19 x 10", {"render", "in.png", "out.png", "--over", "other.png"}},
        {3, "rix: the sample needs an image\n  ", {"run", "Sample", "outputImage=out.tif"}},
        {4, "missing.png", {"run", "Sample", "inputImage=missing.png", "outputImage=out.tif"}},
        {4, "cut.png", {"run", "Sample", "inputImage=cut.png", "outputImage=out.tif"}},
        {4, "text.png", {"info", "text.png"}},
        {4, "missing.png", {"render", "missing.png", "out.png"}},
        {4, "missing.png", {"demo", "demo-folder", "--image", "missing.png"}},
        {5, "no folder", {"run", "Sample", "inputImage=in.png", "outputImage=nowhere/out.tif"}},
        {5, ".tif", {"run", "Sample", "inputImage=in.png", "outputImage=out.xyz"}},
        {5, ".tif", {"run", "Sample", "inputImage=in.png", "outputImage=out"}},
        {5, "it is a folder", {"run", "Sample", "inputImage=in.png", "outputImage=folder.tif"}},
        {5, "no folder", {"render", "in.png", "nowhere/out.png"}},
        {5, "in.png", {"demo", "in.png"}},
        {1, "rix: the sample fails\n", {"run", "Sample", "inputImage=in.png", "behaviour=FAIL", "outputImage=out.tif"}},
        {1, "Memory is exhausted", {"run", "Sample", "inputImage=in.png", "behaviour=RUN_OUT_OF_MEMORY"}},
        {1, "undefined exception", {"run", "Sample", "inputImage=in.png", "behaviour=FAIL_STRANGELY"}},
    };
    for (const auto& [exitCode, message, arguments] : cases) {
        auto ending = sample(arguments);
        EXPECT_EQ(ending.exitCode, exitCode) << testing::PrintToString(arguments) << '\n' << ending.messages;
        EXPECT_NE(ending.messages.find(message), std::string::npos) << message << " not in\n" << ending.messages;
        EXPECT_EQ(ending.output, "") << testing::PrintToString(arguments);

        // The same as an object, as the only thing on standard error.
        if (arguments.size() > 1 && arguments[0] != "render" && arguments[0] != "demo") {
            auto withJson = arguments;
            withJson.emplace_back("--json");
            ending = sample(withJson);
            const auto object = nlohmann::json::parse(ending.messages, nullptr, false);
            ASSERT_TRUE(object.is_object()) << ending.messages;
            EXPECT_EQ(object["error"]["code"], exitCode) << ending.messages;
            EXPECT_EQ(ending.exitCode, exitCode);
        }
    }
    EXPECT_EQ(files(), before);
}

TEST_F(ProgramTest, runsAndPrintsResults) {
    writeRamp("in.png", 20, 10);
    const auto text = sample({"run", "Sample", "inputImage=in.png", "count=2", "outputImage=out.TIF"});
    EXPECT_EQ(text.exitCode, 0) << text.messages;
    EXPECT_EQ(text.output, "outputThird  0.6666666666666666\noutputText  counted\n");
    EXPECT_NE(text.messages.find("outputImage written to out.TIF (20, 10, 1"), std::string::npos) << text.messages;
    EXPECT_EQ(io::readImage(folder() / "out.TIF")->getImageBuffer()[199], 199);

    // Two outputs, one of them onto the input, which is read before.
    const auto json = sample(
        {"run", "Sample", "inputImage=in.png", "count=3", "outputImage=in.png", "outputCopy=copy.png", "--json"});
    EXPECT_EQ(json.exitCode, 0) << json.messages;
    EXPECT_EQ(json.messages, "");
    const auto object = nlohmann::json::parse(json.output);
    EXPECT_EQ(object["class"], "Sample");
    EXPECT_EQ(object["level"], "scalar");
    EXPECT_EQ(object["results"]["outputThird"], 1.0);
    EXPECT_EQ(object["results"]["outputText"], "counted");
    EXPECT_EQ(object["images"]["outputCopy"]["path"], "copy.png");
    EXPECT_EQ(object["images"]["outputImage"]["extents"], (std::vector<int>{20, 10, 1, 1, 1}));
    EXPECT_EQ(files(), (Names{"in.png", "copy.png", "out.TIF"}));
}

TEST_F(ProgramTest, writesBackWhatTheAlgorithmChangesInPlace) {
    writeRamp("in.png", 4, 4);
    const auto ending = sample({"run", "Sample", "inputImage=in.png", "changedImage=in.png", "outputImage=out.png"});
    EXPECT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_EQ(io::readImage(folder() / "in.png")->getImageBuffer()[0], 1);
    EXPECT_EQ(io::readImage(folder() / "out.png")->getImageBuffer()[0], 0);
}

TEST_F(ProgramTest, describesPropertiesInTheirOrder) {
    const auto text = sample({"describe", "Sample"});
    EXPECT_EQ(text.exitCode, 0);
    for (const char* part : {"area:    sample", "levels:  scalar", "must be given", "(in/out, ", "default:  COPY",
                             "inputImage  (in, input image, required)", "behaviour  (in, choice)", "images/coins.png",
                             " behaviour=COPY count=0 outputImage=outputImage.tif outputCopy=outputCopy.tif"}) {
        EXPECT_NE(text.output.find(part), std::string::npos) << part << " not in\n" << text.output;
    }
    writeRamp("in.png", 4, 4);
    EXPECT_NE(sample({"describe", "Sample", "inputImage=in.png"}).output.find("0 bytes beside the images"),
              std::string::npos);
    EXPECT_EQ(sample({"describe", "Sample", "outputImage=out.png"}).exitCode, 2);
    EXPECT_NE(rix({"describe", "ArithmeticOperationWithImage", "inputImage1=in.png", "inputImage2=in.png"})
                  .output.find("result:  outputImage int16, 4 x 4 x 1 x 1 x 1"),
              std::string::npos);
    const auto object = nlohmann::json::parse(sample({"describe", "Sample", "--json"}).output);
    EXPECT_EQ(object["extraMemory"], (nlohmann::json{{"bytes", 0}, {"isExact", true}}));
    std::vector<std::string> names;
    for (const auto& property : object["properties"]) {
        names.push_back(property["name"]);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"inputImage", "changedImage", "behaviour", "count", "outputImage",
                                               "outputCopy", "outputThird", "outputText"}));
    EXPECT_EQ(object["properties"][2]["labels"].size(), 6U);
    EXPECT_EQ(object["properties"][0]["rules"], std::vector<std::string>{"must be given"});
    EXPECT_EQ(object["properties"][4]["direction"], "out");
    EXPECT_EQ(object["levels"], std::vector<std::string>{"scalar"});

    const auto list = nlohmann::json::parse(sample({"list", "--json"}).output);
    EXPECT_EQ(list.back()["name"], "Sample");
    const auto known = std::find_if(list.begin(), list.end(),
                                    [](const auto& entry) { return entry["name"] == "ThresholdingByCriterion"; });
    ASSERT_NE(known, list.end());
    EXPECT_EQ((*known)["area"], "segmentation");
}

TEST_F(ProgramTest, everyExampleRunsAsItStandsAndWithWhatIsRequiredAlone) {
    const auto inShell = [&](const std::string& command) {
        const std::string found = "PATH=" + std::filesystem::path(RIX_PROGRAM).parent_path().string() + ":$PATH; ";
        Process process("/bin/sh", {"-c", found + command}, setup());
        const int exitCode = process.wait();
        return Ending{exitCode, process.output(), process.messages()};
    };
    test::Sampling sampling(15);
    for (const auto& entry : nlohmann::json::parse(rix({"list", "--json"}).output)) {
        if (!sampling.takesNext()) {
            continue;
        }
        const std::string name = entry["name"];
        const auto object = nlohmann::json::parse(rix({"describe", name, "--json"}).output);
        const std::string example = object["example"];
        EXPECT_NE(rix({"describe", name}).output.find("Example:\n  " + example + '\n'), std::string::npos) << example;
        auto ending = inShell(example);
        EXPECT_EQ(ending.exitCode, 0) << example << '\n' << ending.messages;

        std::string least = example;
        std::string nothing = example;
        for (const auto& property : object["properties"]) {
            const auto assigned = property["name"].get<std::string>() + '=';
            const std::regex assignment(" ('" + assigned + "[^']*'|" + assigned + "[^ ]*)");
            nothing = std::regex_replace(nothing, assignment, "");
            if (!property["required"].get<bool>()) {
                least = std::regex_replace(least, assignment, "");
            } else {
                EXPECT_TRUE(property["default"].is_null()) << name << ' ' << property;
            }
        }
        ending = inShell(least);
        EXPECT_EQ(ending.exitCode, 0) << least << '\n' << ending.messages;
        EXPECT_EQ(inShell(nothing).exitCode, 3) << nothing;
    }
    // Where the rules refuse the default, a value that they accept.
    const auto box = nlohmann::json::parse(rix({"describe", "BoxFilter2d", "--json"}).output);
    EXPECT_EQ(box["properties"][1]["required"], true);
    EXPECT_EQ(box["properties"][3]["required"], false);
    EXPECT_NE(box["example"].get<std::string>().find("kernelSizeX=3"), std::string::npos) << box["example"];
    // An image that is changed is a copy, the sample stays as it is.
    const auto changed = nlohmann::json::parse(sample({"describe", "Sample", "--json"}).output);
    EXPECT_EQ(changed["example"].get<std::string>().rfind("cp ", 0), 0U) << changed["example"];
    EXPECT_NE(changed["example"].get<std::string>().find(" changedImage=changedImage.png "), std::string::npos);
}

class InterruptTest : public ProgramTest, public testing::WithParamInterface<int> {};

TEST_P(InterruptTest, endsALongRunAndLeavesNothing) {
    writeRamp("large.tif", 8192, 8192);
    std::ofstream(folder() / "out.tif") << "what was there before";
    Process process(
        RIX_SAMPLE_PROGRAM,
        {"run", "Sample", "inputImage=large.tif", "behaviour=WAIT", "outputImage=out.tif", "outputCopy=copy.tif"},
        setup());
    ASSERT_TRUE(process.waitForMessage("sample: running")) << process.messages();
    process.send(GetParam());
    EXPECT_EQ(process.wait(), 128 + GetParam()) << process.messages();
    EXPECT_EQ(process.output(), "");
    EXPECT_EQ(files(), (Names{"large.tif", "out.tif"}));
    EXPECT_EQ(contentOf("out.tif"), "what was there before");
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptTest, testing::Values(SIGINT, SIGTERM));

TEST_F(ProgramTest, endsAtOnceAtTheSecondInterrupt) {
    writeRamp("in.png", 4, 4);
    Process process(RIX_SAMPLE_PROGRAM,
                    {"run", "Sample", "inputImage=in.png", "behaviour=WAIT_DEAF", "outputImage=out.tif"}, setup());
    ASSERT_TRUE(process.waitForMessage("sample: running")) << process.messages();
    process.send(SIGINT);
    // Two signals in a row may be taken as one: the second waits until the first has arrived.
    ASSERT_TRUE(process.waitForMessage("sample: asked to stop")) << process.messages();
    process.send(SIGINT);
    EXPECT_EQ(process.wait(), 1000 + SIGINT);
    EXPECT_EQ(files(), Names{"in.png"});
}

TEST_F(ProgramTest, survivesAnInterruptAtAnyMoment) {
    writeRamp("large.tif", 8192, 8192);
    for (const int milliseconds : {1, 10, 30, 60, 100, 200, 400}) {
        Process process(RIX_PROGRAM,
                        {"run", "ThresholdingByCriterion", "inputGrayImage=large.tif",
                         "comparisonCriterion=GREATER_THAN", "comparisonValue=127", "outputBinaryImage=out.tif"},
                        setup());
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        process.send(SIGINT);
        const int exitCode = process.wait();
        // Before the program listens the signal just ends it; once the file is being written it is finished.
        if (exitCode == 0) {
            EXPECT_EQ(io::readImage(folder() / "out.tif")->getImageBuffer()[128], 1);
            std::filesystem::remove(folder() / "out.tif");
        } else {
            EXPECT_TRUE(exitCode == 130 || exitCode == 1000 + SIGINT) << exitCode << process.messages();
        }
        EXPECT_EQ(files(), Names{"large.tif"}) << "after " << milliseconds << " ms";
    }
}

TEST_F(ProgramTest, outputsThatTakeNothing) {
    setup().output = Process::StandardOutput::Closed;
    EXPECT_EQ(rix({"list"}).exitCode, 0);
    EXPECT_EQ(rix({"--help"}).exitCode, 0);
    setup().output = Process::StandardOutput::Full;
    for (const char* command : {"list", "--help"}) {
        const auto ending = rix({command});
        EXPECT_EQ(ending.exitCode, 5);
        EXPECT_NE(ending.messages.find("standard output can't be written"), std::string::npos) << ending.messages;
    }
}

TEST_F(ProgramTest, aFullDiskLeavesNothing) {
    writeRamp("in.tif", 1000, 1000);
    setup().largestFile = 100000;
    const auto ending = sample({"run", "Sample", "inputImage=in.tif", "outputImage=out.tif"});
    EXPECT_EQ(ending.exitCode, 5) << ending.messages;
    EXPECT_EQ(files(), Names{"in.tif"});
}

TEST_F(ProgramTest, namesTheFilesWrittenBeforeOneThatFails) {
    io::writeImage(folder() / "in.tif", makeImage<float>({2, 1, 1, 1, 1}, {0, 1}));
    const auto ending = sample({"run", "Sample", "inputImage=in.tif", "outputImage=out.tif", "outputCopy=copy.png"});
    EXPECT_EQ(ending.exitCode, 5);
    EXPECT_NE(ending.messages.find("outputImage written to out.tif"), std::string::npos) << ending.messages;
    EXPECT_NE(ending.messages.find("copy.png"), std::string::npos) << ending.messages;
    EXPECT_EQ(files(), (Names{"in.tif", "out.tif"}));
}

}  // namespace
}  // namespace rix::cli
