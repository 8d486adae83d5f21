// Recipes in blocks: the results have the bytes of those in one process, whatever was killed, done twice or at once;
// what was damaged or changed is noticed.

#include <chrono>
#include <csignal>
#include <fstream>
#include <map>
#include <random>
#include <thread>

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "ProgramFixture.h"

namespace rix::cli {
namespace {

using testing::HasSubstr;

class PlanTest : public ProgramTest {
protected:
    void write(const std::string& name, const std::string& text) const { std::ofstream(folder() / name) << text; }

    /// Objects in noise, as TIFF and in chunks.
    template <class T = std::uint8_t>
    void writeScene(const std::array<std::size_t, 5>& extents) const {
        std::vector<T> samples(extents[0] * extents[1] * extents[2] * extents[3] * extents[4]);
        std::mt19937 chance(7);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const std::size_t x = i % extents[0] / 13;
            const std::size_t y = i / extents[0] / 11;
            samples[i] = static_cast<T>(chance() % 64 + ((x * 7 + y * y) % 5 < 2 ? 130 : 30));
        }
        auto image = makeImage<T>(extents, samples);
        image.setSpacingOf(COLUMNS, 0.5);
        image.setSpatialUnitName("um");
        io::writeImage(folder() / "in.tif", image);
        io::writeImage(folder() / "in.zarr", image, {.tileColumns = 48, .tileRows = 40});
    }
    void expectDone(const std::vector<std::string>& arguments) const {
        const Ending ending = rix(arguments);
        EXPECT_EQ(ending.exitCode, 0) << ending.messages;
    }
    nlohmann::json readJson(const std::string& name) const { return nlohmann::json::parse(contentOf(name)); }

    std::vector<std::size_t> blocksOfRounds() const {
        std::vector<std::size_t> blocks;
        std::ifstream file(folder() / "r-plan-work/rounds.txt");
        for (std::size_t round = 0, number = 0; file >> round >> number;) {
            blocks.push_back(number);
        }
        return blocks;
    }
    void doRound(std::size_t round) const {
        // The last first: their order is nobody's business.
        for (std::size_t block = blocksOfRounds()[round]; block-- > 0;) {
            expectDone({"block", "r-plan.json", std::to_string(block)});
        }
        expectDone({"join", "r-plan.json"});
    }
    void doAll() const {
        for (std::size_t round = 0; round < blocksOfRounds().size(); ++round) {
            doRound(round);
        }
        expectDone({"finish", "r-plan.json"});
    }
    /// The files of r.json as one process makes them, in a folder "whole".
    void runWhole() const {
        std::filesystem::create_directory(folder() / "whole");
        for (const auto& entry : std::filesystem::directory_iterator(folder())) {
            if (entry.path().filename() != "whole") {
                std::filesystem::copy(entry.path(), folder() / "whole" / entry.path().filename(),
                                      std::filesystem::copy_options::recursive);
            }
        }
        Process::Setup there;
        there.folder = folder() / "whole";
        Process process(RIX_PROGRAM, {"recipe", "r.json", "--no-progress"}, there);
        ASSERT_EQ(process.wait(), 0) << process.messages();
    }
    void expectSameImage(const std::string& name) const {
        const auto image = io::readImage(folder() / name);
        const auto whole = io::readImage(folder() / "whole" / name);
        ASSERT_EQ(helper::describeImage(*image), helper::describeImage(*whole));
        EXPECT_EQ(image->getSpacingOf(COLUMNS), whole->getSpacingOf(COLUMNS));
        EXPECT_EQ(image->getSpatialUnitName(), whole->getSpatialUnitName());
        std::size_t elements = 0;
        ASSERT_TRUE(helper::getElementCount(*image, elements));
        EXPECT_EQ(std::memcmp(image->getInternalBuffer(), whole->getInternalBuffer(),
                              elements * helper::getElementSize(*image)),
                  0)
            << name;
    }
    void expectSameFile(const std::string& name) const {
        EXPECT_TRUE(contentOf(name) == contentOf("whole/" + name)) << name;
    }
    /// But for what takes time.
    void expectSameRecord() const {
        nlohmann::json record = readJson("r-record.json");
        nlohmann::json whole = readJson("whole/r-record.json");
        for (nlohmann::json* const one : {&record, &whole}) {
            one->erase("started");
            for (nlohmann::json& step : (*one)["steps"]) {
                step.erase("seconds");
            }
        }
        EXPECT_EQ(record, whole);
    }
};

/// Two kinds of reals and integers, a point operation that wraps, and a window of windows.
std::string windowChain(const std::string& input, const std::string& d) {
    return R"({"parameters": {"input": ")" + input + R"("}, "steps": [
        {"run": "GaussianFilter)" +
           d +
           R"(", "with": {"inputImage": "${input}", "standardDeviationX": 2.5, "standardDeviationY": 1, "outputImage": "@smooth"}},
        {"run": "ConvertImage", "with": {"inputImage": "@smooth", "outputType": "FLOAT_32_BIT", "outputImage": "@real"}},
        {"run": "UnsharpMask)" +
           d + R"(", "with": {"inputImage": "@real", "outputImage": "@sharp"}},
        {"run": "BoxFilter)" +
           d + R"(", "with": {"inputImage": "@sharp", "kernelSizeX": 9, "kernelSizeY": 5, )" +
           (d == "3d" ? R"("kernelSizeZ": 3, )" : "") + R"("autoScale": "YES", "outputImage": "@box"}},
        {"run": "ArithmeticOperationWithImage", "with": {"inputImage1": "@box", "inputImage2": "@real", "arithmeticOperator": "SUBTRACT", "outputImage": "@even"}},
        {"run": "ArithmeticOperationWithValue", "with": {"inputImage": "${input}", "value": 200, "arithmeticOperator": "MULTIPLY", "outputImage": "@wide"}},
        {"run": "ConvertImage", "with": {"inputImage": "@wide", "outputType": "UNSIGNED_INTEGER_8_BIT", "outputImage": "wrapped.tif"}},
        {"run": "Dilation)" +
           d + R"(", "with": {"inputImage": "@smooth", "radius": 3, "outputImage": "wide.zarr"}},
        {"write": "@even", "to": "even.zarr"},
        {"write": "${input}", "to": "copy.tif"}
    ]})";
}

TEST_F(PlanTest, WindowsHaveTheBytesOfOneProcess) {
    struct Case {
        std::array<std::size_t, 5> extents;
        const char* input;
        const char* dimension;
        std::size_t wanted;
        std::size_t atLeast;
    };
    for (const Case& one :
         {Case{{150, 130, 1, 1, 1}, "in.zarr", "2d", 1, 1}, Case{{150, 130, 1, 2, 3}, "in.tif", "2d", 7, 4},
          Case{{330, 130, 1, 1, 1}, "in.tif", "2d", 10000, 6}, Case{{50, 40, 120, 1, 1}, "in.zarr", "3d", 5, 4}}) {
        SetUp();  // a folder of its own
        writeScene(one.extents);
        write("r.json", windowChain(one.input, one.dimension));
        runWhole();
        const Ending planned = rix({"plan", "r.json", "--blocks", std::to_string(one.wanted)});
        ASSERT_EQ(planned.exitCode, 0) << planned.messages;
        ASSERT_EQ(blocksOfRounds().size(), 1U);
        const std::size_t blocks = blocksOfRounds().front();
        EXPECT_LE(blocks, one.wanted);
        EXPECT_GE(blocks, one.atLeast) << planned.output;
        EXPECT_EQ(planned.output.find("blocks were wanted") != std::string::npos, blocks < one.wanted);
        doAll();
        for (const char* const image : {"wrapped.tif", "wide.zarr", "even.zarr", "copy.tif"}) {
            expectSameImage(image);
        }
        expectSameRecord();
        EXPECT_GT(readJson("r-record.json")["steps"][6]["wrappedVoxels"], 1000);
        EXPECT_FALSE(std::filesystem::exists(folder() / "r-plan-work/images"));
        TearDown();
    }
}

constexpr const char* recipeOfRounds =
    R"({"steps": [
        {"run": "GaussianFilter2d", "with": {"inputImage": "in.zarr", "standardDeviationX": 2, "standardDeviationY": 2, "outputImage": "@a"}},
        {"run": "AutoThresholdingBright", "with": {"inputGrayImage": "@a", "outputBinaryImage": "@b"}},
        {"render": ["@a", {"image": "@b", "over": "@a"}], "to": "early.png"},
        {"run": "Opening2d", "with": {"inputImage": "@b", "structuringElement": "DISK", "radius": 2, "outputImage": "@b"}},
        {"run": "Labeling2d", "with": {"inputObjectImage": "@b", "outputLabelImage": "labels.tif"}},
        {"run": "LabelAnalysis", "with": {"inputLabelImage": "labels.tif", "inputIntensityImage": "in.zarr",
                                          "measures": "Area, Mean", "outputMeasurement": "@table"}},
        {"write": "@table", "to": "table.csv"},
        {"run": "MaskImage", "with": {"inputImage": "@a", "inputBinaryImage": "@b", "outputImage": "@masked"}},
        {"write": "@masked", "to": "masked.zarr"}
    ]})";

TEST_F(PlanTest, WhatNeedsTheWholeJoinsRounds) {
    writeScene({200, 160, 1, 1, 1});
    write("r.json", recipeOfRounds);
    runWhole();
    const Ending planned = rix({"plan", "r.json", "--blocks", "4", "--json"});
    ASSERT_EQ(planned.exitCode, 0) << planned.messages;
    const nlohmann::json plan = nlohmann::json::parse(planned.output);
    ASSERT_EQ(plan["rounds"].size(), 3U);
    EXPECT_EQ(plan["rounds"][0]["wholeSteps"], nlohmann::json({1}));
    EXPECT_EQ(plan["rounds"][1]["wholeSteps"], nlohmann::json({4, 5}));
    EXPECT_EQ(plan["rounds"][1]["grownBy"]["lower"], nlohmann::json({4, 4, 0}));
    EXPECT_EQ(plan["rounds"][2]["blocks"], 4);

    expectDone({"block", "r-plan.json", "2"});
    EXPECT_EQ(nlohmann::json::parse(rix({"block", "r-plan.json", "2", "--json"}).output)["done"], false);
    const Ending early = rix({"join", "r-plan.json"});
    EXPECT_EQ(early.exitCode, 1);
    EXPECT_THAT(early.messages, HasSubstr("3 of 4 blocks have no valid receipt: 0, 1, 3"));
    EXPECT_THAT(rix({"block", "r-plan.json", "0", "--round", "1"}).messages,
                HasSubstr("have no valid receipt: 0, 1, 3"));
    EXPECT_THAT(rix({"finish", "r-plan.json"}).messages, HasSubstr("have no valid receipt: 0, 1, 3"));
    EXPECT_EQ(rix({"block", "r-plan.json", "4"}).exitCode, 2);
    EXPECT_EQ(rix({"join", "r-plan.json", "--round", "3"}).exitCode, 2);
    doRound(0);
    EXPECT_THAT(rix({"join", "r-plan.json", "--round", "0"}).output, HasSubstr("joined already"));
    EXPECT_THAT(rix({"block", "r-plan.json", "0", "--round", "0"}).output, HasSubstr("done already"));
    doRound(1);
    EXPECT_THAT(rix({"finish", "r-plan.json"}).messages, HasSubstr("round 2 is not complete"));
    doRound(2);
    EXPECT_EQ(files().count("table.csv"), 0U);  // nothing appears before the end
    expectDone({"finish", "r-plan.json"});
    for (const char* const image : {"labels.tif", "masked.zarr"}) {
        expectSameImage(image);
    }
    expectSameFile("table.csv");
    expectSameFile("early.png");
    expectSameRecord();
    // Whoever repeats a command learns that there is nothing left to do.
    for (const std::vector<std::string>& again :
         {std::vector<std::string>{"block", "r-plan.json", "1"}, {"join", "r-plan.json"}}) {
        EXPECT_THAT(rix(again).output, HasSubstr("the plan is finished"));
    }
    expectDone({"finish", "r-plan.json"});
}

/// The receipts of blocks by their names, and when they were written.
std::map<std::string, std::filesystem::file_time_type> receiptsIn(const std::filesystem::path& folder) {
    std::map<std::string, std::filesystem::file_time_type> times;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with("block-")) {
            times[entry.path().filename().string()] = std::filesystem::last_write_time(entry.path());
        }
    }
    return times;
}

TEST_F(PlanTest, KilledBlocksAreRepeatedAndNothingElse) {
    writeScene({640, 512, 1, 1, 1});
    write("r.json", R"({"steps": [
        {"run": "MedianFilter2d", "with": {"inputImage": "in.zarr", "kernelSizeX": 9, "kernelSizeY": 9, "outputImage": "@m"}},
        {"run": "GaussianFilter2d", "with": {"inputImage": "@m", "outputImage": "out.zarr"}}]})");
    runWhole();
    expectDone({"plan", "r.json", "--blocks", "16"});
    ASSERT_EQ(blocksOfRounds(), std::vector<std::size_t>{16});
    const std::filesystem::path receipts = folder() / "r-plan-work/round-0";
    std::mt19937 chance(3);
    std::size_t kills = 0;
    std::size_t done = 0;
    int delay = 0;
    for (std::size_t block = 0; kills < 50 && block < 16;) {
        Process process(RIX_PROGRAM, {"block", "r-plan.json", std::to_string(block)}, setup());
        std::this_thread::sleep_for(std::chrono::microseconds(delay + static_cast<int>(chance() % 3000)));
        process.send(SIGKILL);
        const int ended = process.wait();
        if (ended == 0 || receiptsIn(receipts).size() > done) {  // it was faster
            done = receiptsIn(receipts).size();
            ++block;
            delay = 0;
        } else {
            EXPECT_EQ(ended, 1000 + SIGKILL) << process.messages();
            ++kills;
            delay += 2500;
        }
    }
    EXPECT_EQ(kills, 50U);
    ASSERT_LT(done, 16U);
    const auto before = receiptsIn(receipts);
    for (int i = 0; i < 16; ++i) {
        expectDone({"block", "r-plan.json", std::to_string(i)});
    }
    const auto after = receiptsIn(receipts);
    EXPECT_EQ(after.size(), 16U);
    for (const auto& [name, time] : before) {
        EXPECT_EQ(after.at(name), time) << name;
    }
    expectDone({"join", "r-plan.json"});
    write("r-plan-work/images/image-1/out.zarr/0/.rix-1.tmp", "what a killed process leaves");
    expectDone({"finish", "r-plan.json"});
    expectSameImage("out.zarr");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder() / "out.zarr")) {
        EXPECT_THAT(entry.path().string(), testing::Not(HasSubstr(".tmp")));
    }
}

TEST_F(PlanTest, DamageAndChangesAreNoticed) {
    writeScene({160, 130, 1, 1, 1});
    write("r.json", R"({"parameters": {"s": 2}, "steps": [{"run": "GaussianFilter2d", "with": {
        "inputImage": "in.tif", "standardDeviationX": "${s}", "outputImage": "out.zarr"}}]})");
    runWhole();
    expectDone({"plan", "r.json", "--blocks", "4"});
    for (int i = 0; i < 4; ++i) {
        expectDone({"block", "r-plan.json", std::to_string(i)});
    }
    const std::string receipt = "r-plan-work/round-0/block-1.json";
    const auto expectRepeated = [&](int block) {
        EXPECT_THAT(rix({"join", "r-plan.json"}).messages,
                    HasSubstr("1 of 4 blocks have no valid receipt: " + std::to_string(block)));
        EXPECT_EQ(nlohmann::json::parse(rix({"block", "r-plan.json", std::to_string(block), "--json"}).output)["done"],
                  true);
    };
    const std::string whole = contentOf(receipt);
    std::string changed = whole;
    changed.replace(changed.find("\"block\": 1"), 10, "\"block\": 2");
    for (const std::string& damaged : {std::string(), std::string("{}"), whole.substr(0, whole.size() / 2), changed}) {
        write(receipt, damaged);
        expectRepeated(1);
    }
    const nlohmann::json said = readJson("r-plan-work/round-0/block-2.json");
    const std::string chunk = "r-plan-work/" + said["files"][0]["path"].get<std::string>();
    std::string bytes = contentOf(chunk);
    bytes.back() = static_cast<char>(bytes.back() ^ 1);
    write(chunk, bytes);
    expectRepeated(2);
    std::filesystem::remove(folder() / chunk);
    expectRepeated(2);

    // A receipt that was written for another block is none.
    std::filesystem::copy_file(folder() / "r-plan-work/round-0/block-0.json", folder() / receipt,
                               std::filesystem::copy_options::overwrite_existing);
    expectRepeated(1);

    const std::string plan = contentOf("r-plan.json");
    std::string other = plan;
    other.replace(other.find("\"2\""), 3, "\"3\"");
    write("r-plan.json", other);
    const Ending changedPlan = rix({"block", "r-plan.json", "0"});
    EXPECT_EQ(changedPlan.exitCode, 2);
    EXPECT_THAT(changedPlan.messages, HasSubstr("was changed since it was made"));
    for (const char* const none : {"", "{}", "[1]", "{\"format\": \"rix plan\"}"}) {
        write("r-plan.json", none);
        EXPECT_EQ(rix({"join", "r-plan.json"}).exitCode, 2);
    }
    EXPECT_EQ(rix({"join", "none.json"}).exitCode, 4);
    write("r-plan.json", plan);
    expectDone({"plan", "r.json", "--blocks", "4"});  // the same once more changes nothing
    EXPECT_EQ(contentOf("r-plan.json"), plan);
    const Ending second = rix({"plan", "r.json", "s=5", "--blocks", "4"});
    EXPECT_EQ(second.exitCode, 2);
    EXPECT_THAT(second.messages, HasSubstr("has the work of another plan"));

    const auto time = std::filesystem::last_write_time(folder() / "in.tif");
    std::filesystem::last_write_time(folder() / "in.tif", time + std::chrono::seconds(5));
    EXPECT_THAT(rix({"join", "r-plan.json"}).messages, HasSubstr("the input 'in.tif' was changed"));
    std::filesystem::last_write_time(folder() / "in.tif", time);
    expectDone({"join", "r-plan.json"});
    expectDone({"finish", "r-plan.json", "--keep"});
    EXPECT_TRUE(std::filesystem::exists(folder() / "r-plan-work/images"));
    expectSameImage("out.zarr");
    expectDone({"plan", "r.json", "s=5", "--blocks", "4"});  // a finished plan gives way

    EXPECT_EQ(rix({"plan", "r.json", "--blocks", "0"}).exitCode, 2);
    EXPECT_EQ(rix({"plan", "none.json", "--blocks", "2"}).exitCode, 4);
    write("copy.json", R"({"steps": [{"write": "in.tif", "to": "c.tif"}]})");
    EXPECT_EQ(rix({"plan", "copy.json", "--blocks", "2"}).exitCode, 2);
}

TEST_F(PlanTest, OneBlockMayRunTwiceAtOnce) {
    writeScene({500, 400, 1, 1, 1});
    write("r.json", windowChain("in.zarr", "2d"));
    runWhole();
    expectDone({"plan", "r.json", "--blocks", "2"});
    for (const char* const block : {"0", "1"}) {
        Process first(RIX_PROGRAM, {"block", "r-plan.json", block}, setup());
        Process second(RIX_PROGRAM, {"block", "r-plan.json", block}, setup());
        EXPECT_EQ(first.wait(), 0) << first.messages();
        EXPECT_EQ(second.wait(), 0) << second.messages();
    }
    // From another folder: a plan knows its own.
    std::filesystem::create_directory(folder() / "elsewhere");
    Process::Setup there;
    there.folder = folder() / "elsewhere";
    Process joined(RIX_PROGRAM, {"join", "../r-plan.json"}, there);
    EXPECT_EQ(joined.wait(), 0) << joined.messages();
    // When an output can't be written, those before it are there, and the next try goes on.
    std::filesystem::create_directory(folder() / "copy.tif");
    EXPECT_EQ(rix({"finish", "r-plan.json"}).exitCode, 5);
    expectSameImage("wide.zarr");
    std::filesystem::remove(folder() / "copy.tif");
    expectDone({"finish", "r-plan.json"});
    for (const char* const image : {"wrapped.tif", "wide.zarr", "even.zarr", "copy.tif"}) {
        expectSameImage(image);
    }
    expectSameRecord();
}

TEST_F(PlanTest, TheExamplesOfSchedulersDoIt) {
    writeScene({200, 160, 1, 1, 1});
    write("r.json", recipeOfRounds);
    runWhole();
    if (std::filesystem::exists("/usr/bin/make")) {
        const std::vector<std::string> arguments = {
            "-j2",      "-f",         RIX_EXAMPLES "/batch/Makefile", "RIX=" RIX_PROGRAM, "RECIPE=r.json",
            "BLOCKS=4", "MEMORY=200M"};
        for (int repeated = 0; repeated < 2; ++repeated) {
            Process make("/usr/bin/make", arguments, setup());
            EXPECT_EQ(make.wait(), 0) << make.output() << make.messages();
        }
        for (const char* const image : {"labels.tif", "masked.zarr"}) {
            expectSameImage(image);
        }
        expectSameFile("table.csv");
        expectSameRecord();
        for (const char* const made : {"r-plan.json", "r-plan-work", "labels.tif", "masked.zarr", "table.csv"}) {
            std::filesystem::remove_all(folder() / made);
        }
    } else {
        ADD_FAILURE() << "make is missing";
    }
    // In place of the scheduler, what does each job at once: its last argument is the command.
    write("sbatch",
          "#!/bin/sh\nexport SLURM_CPUS_PER_TASK=1\nlast=0\nfor a; do case $a in\n"
          "--array=0-*) last=${a#--array=0-};;\n--wrap=*) command=${a#--wrap=};;\nesac; done\n"
          "for i in $(seq 0 $last); do SLURM_ARRAY_TASK_ID=$i sh -c \"$command\" >> jobs.txt 2>&1 || exit 1; done\n"
          "echo 17\n");
    std::filesystem::permissions(folder() / "sbatch", std::filesystem::perms::owner_all);
    Process slurm("/bin/sh",
                  {"-c", "PATH=$PWD:$PATH RIX=" RIX_PROGRAM " exec sh " RIX_EXAMPLES "/batch/slurm.sh r.json 4"},
                  setup());
    EXPECT_EQ(slurm.wait(), 0) << slurm.output() << slurm.messages() << contentOf("jobs.txt");
    for (const char* const image : {"labels.tif", "masked.zarr"}) {
        expectSameImage(image);
    }
    expectSameFile("table.csv");
}

}  // namespace
}  // namespace rix::cli
