// What the built program tells and shows of images, and what its help promises.

#include <cmath>
#include <complex>
#include <limits>
#include <sstream>

#include <nlohmann/json.hpp>

#include <rix/rendering/LabelColours.h>
#include <rix/rendering/Picture.h>

#include "ProgramFixture.h"

namespace rix::cli {
namespace {

TEST_F(ProgramTest, infoTellsTypesCalibrationAndStatistics) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    auto image = makeImage<float>({2, 1, 2, 2, 1}, {1, 2, 3, nan, -5, 6, 7, 8});
    ASSERT_TRUE(image.setSpacingOf(COLUMNS, 0.25));
    ASSERT_TRUE(image.setSpacingOf(ROWS, 0.25));
    ASSERT_TRUE(image.setSpacingOf(PLANS, 0.5));
    ASSERT_TRUE(image.setSpacingOf(SEQUENCE, 2));
    ASSERT_TRUE(image.setSpatialUnitName("micron"));
    io::writeImage(folder() / "five.tif", image);

    const auto object = nlohmann::json::parse(rix({"info", "five.tif", "--statistics", "--json"}).output);
    EXPECT_EQ(object["voxelType"], "float32");
    EXPECT_EQ(object["interpretation"], "value");
    EXPECT_EQ(object["axes"][2]["size"], 2);
    EXPECT_EQ(object["axes"][2]["spacing"], 0.5);
    EXPECT_EQ(object["axes"][0]["unit"], "micron");
    EXPECT_EQ(object["axes"][3]["size"], 2);
    const auto& statistics = object["statistics"];
    EXPECT_EQ(statistics["samples"], 8);
    EXPECT_EQ(statistics["notANumber"], 1);
    EXPECT_EQ(statistics["minimum"], -5);
    EXPECT_EQ(statistics["maximum"], 8);
    EXPECT_DOUBLE_EQ(statistics["mean"].get<double>(), 22.0 / 7);
    EXPECT_EQ(statistics["median"], 3);
    const auto text = rix({"info", "five.tif", "--statistics"}).output;
    for (const char* part :
         {"scalar float32", "planes    2", "not a number:        1", "minimum:             -5", "micron"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << " not in\n" << text;
    }

    io::writeImage(folder() / "complex.tif", makeImage<std::complex<double>>({2, 1, 1, 1, 1}, {{3, -4}, {0, 0}}));
    const auto complex = nlohmann::json::parse(rix({"info", "complex.tif", "--statistics", "--json"}).output);
    EXPECT_EQ(complex["statistics"]["of"], "magnitude");
    EXPECT_EQ(complex["statistics"]["maximum"], 5);

    // Samples are read when they are asked for only: the head of a file is enough, and a bad one holds no other back.
    std::ofstream(folder() / "bad.tif") << "no image";
    const auto several = rix({"info", "complex.tif", "bad.tif", "complex.tif", "--json"});
    EXPECT_EQ(several.exitCode, 4);
    const auto list = nlohmann::json::parse(several.output);
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[1]["path"], "bad.tif");
    EXPECT_EQ(list[1]["error"]["code"], 4);
    EXPECT_EQ(list[2]["voxelType"], "complex float64");
    EXPECT_FALSE(list[2].contains("statistics"));
}

TEST_F(ProgramTest, rendersLabelsAloneAndOverAPhotograph) {
    auto labels = makeImage<std::uint16_t>({4, 3, 1, 1, 1}, {1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 769});
    ASSERT_TRUE(labels.setInterpretation(RIX_LABEL));
    io::writeImage(folder() / "labels.tif", labels);
    std::vector<std::uint8_t> ramp(12);
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        ramp[i] = static_cast<std::uint8_t>(100 + i);
    }
    io::writeImage(folder() / "base.tif", makeImage<std::uint8_t>({4, 3, 1, 1, 1}, ramp));
    const auto pixel = [&](const char* name, std::size_t column, std::size_t row) {
        const auto picture = io::readImage(folder() / name);
        const bool isOpaque = picture->getNumOf(SPECTRAL_SERIES) == 3;
        const auto* first = picture->getImageBuffer() + row * 4 + column;
        return rendering::Colour{first[0], first[12], first[24], isOpaque ? std::uint8_t{255} : first[36]};
    };

    ASSERT_EQ(rix({"render", "labels.tif", "labels.png"}).exitCode, 0);
    EXPECT_EQ(pixel("labels.png", 0, 0), rendering::labelColour(1));
    EXPECT_EQ(pixel("labels.png", 3, 0), rendering::labelColour(0));
    // 769 by itself has the colour of 1.
    const rendering::Colour other = pixel("labels.png", 3, 2);
    EXPECT_GT(rendering::colourDistance(other, rendering::labelColour(1)), 100);

    ASSERT_EQ(rix({"render", "labels.tif", "over.png", "--over", "base.tif"}).exitCode, 0);
    EXPECT_EQ(pixel("over.png", 0, 0), rendering::grey(0));  // inside label 1: the darkest of the base
    EXPECT_EQ(pixel("over.png", 2, 0), rendering::labelColour(1));
    EXPECT_EQ(pixel("over.png", 3, 1), rendering::grey(162));  // background: 7 of 11 steps
    EXPECT_EQ(pixel("over.png", 3, 2), other);
}

TEST_F(ProgramTest, demoMeasuresTheCoins) {
    const auto ending = rix({"demo", "results/today"});
    ASSERT_EQ(ending.exitCode, 0) << ending.messages;
    EXPECT_NE(ending.output.find("results/today/coins-binary.tif"), std::string::npos) << ending.output;
    EXPECT_NE(ending.output.find("results/today/coins-side-by-side.png"), std::string::npos) << ending.output;
    const auto info =
        nlohmann::json::parse(rix({"info", "results/today/coins-binary.tif", "--statistics", "--json"}).output);
    EXPECT_EQ(info["interpretation"], "binary");
    EXPECT_EQ(info["statistics"]["maximum"], 1);
    // A table of the 24 coins, a picture with their numbers.
    const std::string table = contentOf("results/today/coins.csv");
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 25);
    EXPECT_EQ(table.substr(0, table.find('\n')),
              "Frame,Label,Area,EquivalentDiameter,Circularity,BarycenterX,BarycenterY,Mean");
    EXPECT_NE(ending.output.find("0      24     "), std::string::npos) << ending.output;
    EXPECT_TRUE(std::filesystem::exists(folder() / "results/today/coins-labels.png"));
    // The coins cover between a quarter and a half of the photograph.
    EXPECT_GT(info["statistics"]["mean"], 0.25);
    EXPECT_LT(info["statistics"]["mean"], 0.5);
    const auto picture = io::readImageInfo(folder() / "results/today/coins-side-by-side.png");
    EXPECT_EQ(picture.extents[COLUMNS], 2U * 384U + 8U);
    EXPECT_EQ(picture.extents[ROWS], 303U);
}

TEST_F(ProgramTest, recipesFindNearlyAllThatPhantomsHave) {
    std::filesystem::create_directory_symlink(RIX_EXAMPLES, folder() / "examples");
    const auto rowsOf = [&](const std::string& file) {
        std::vector<std::vector<std::string>> table;
        std::istringstream lines(contentOf(file));
        std::string line;
        for (std::getline(lines, line); std::getline(lines, line);) {
            table.emplace_back();
            std::istringstream cells(line);
            for (std::string cell; std::getline(cells, cell, ',');) {
                table.back().push_back(cell);
            }
        }
        return table;
    };
    for (const std::string name : {"cells", "nuclei", "pores"}) {
        SCOPED_TRACE(name);
        const auto ending = rix({"recipe", "examples/" + name + ".json"});
        ASSERT_EQ(ending.exitCode, 0) << ending.messages;
        const std::size_t there = rowsOf(name + "-truth.csv").size();
        // Found is what has more than half of its voxels in common with one object: no two can have that.
        std::size_t found = 0;
        for (const auto& row : rowsOf(name + "-overlap.csv")) {
            found += std::stod(row.at(3)) > 0.5 ? 1U : 0U;
        }
        EXPECT_LE(found, there);
        EXPECT_GE(static_cast<double>(found), 0.88 * static_cast<double>(there)) << there;
        EXPECT_GT(rowsOf(name + ".csv").size(), there / 2);
        EXPECT_TRUE(std::filesystem::exists(folder() / (name + ".png")));
    }
}

TEST_F(ProgramTest, examplesOfTheHelpWorkAsTheyStand) {
    std::filesystem::create_directory_symlink(RIX_EXAMPLES, folder() / "examples");
    EXPECT_EQ(rix({"--version"}).output.rfind("rix ", 0), 0U);
    for (const char* command : {"", "list", "describe", "run", "info", "render", "demo"}) {
        std::vector<std::string> arguments{"help"};
        if (*command != '\0') {
            arguments.emplace_back(command);
        }
        const auto help = rix(arguments);
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_EQ(help.messages, "");
        const auto start = help.output.find("Example:\n  rix ");
        ASSERT_NE(start, std::string::npos) << help.output;
        std::istringstream words(help.output.substr(start + std::strlen("Example:\n  rix ")));
        arguments.clear();
        for (std::string word; words >> word;) {
            arguments.push_back(word);
        }
        const auto ending = rix(arguments);
        EXPECT_EQ(ending.exitCode, 0) << testing::PrintToString(arguments) << '\n' << ending.messages;
    }
    EXPECT_TRUE(std::filesystem::exists(folder() / "coins-binary.tif"));
    EXPECT_TRUE(std::filesystem::exists(folder() / "cell-view.png"));
    // Algorithms by what they are about, in the words of the field.
    EXPECT_EQ(rix({"list", "rolling", "ball"}).output.rfind("BackgroundCorrection2d ", 0), 0U);
    EXPECT_EQ(rix({"help", "otsu"}).exitCode, 2);
    EXPECT_EQ(rix({"list", "nothing like this"}).exitCode, 2);
}

}  // namespace
}  // namespace rix::cli
