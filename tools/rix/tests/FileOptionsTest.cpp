// What the command line says of image files: calibration, limits, compression.

#include <nlohmann/json.hpp>

#include "ProgramFixture.h"

namespace rix::cli {
namespace {

class FileOptions : public ProgramTest {
protected:
    nlohmann::json infoOf(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "info");
        arguments.emplace_back("--json");
        const Ending ending = rix(arguments);
        EXPECT_EQ(ending.exitCode, 0) << ending.messages;
        return nlohmann::json::parse(ending.output);
    }
};

TEST_F(FileOptions, calibrationOfTheCommandLineCounts) {
    auto image = makeImage<std::uint8_t>({2, 1, 2, 1, 1}, {1, 2, 3, 4});
    ASSERT_TRUE(image.setSpacingOf(COLUMNS, 0.25));
    ASSERT_TRUE(image.setSpatialUnitName("mm"));
    io::writeImage(folder() / "in.tif", image);
    const auto spacings = [](const nlohmann::json& info) {
        return std::vector<double>{info["axes"][0]["spacing"], info["axes"][1]["spacing"], info["axes"][2]["spacing"]};
    };
    auto info = infoOf({"in.tif", "--spacing", "0.5,0.75,2", "--unit", "um"});
    EXPECT_EQ(spacings(info), (std::vector<double>{0.5, 0.75, 2}));
    EXPECT_EQ(info["axes"][0]["unit"], "um");
    EXPECT_EQ(spacings(infoOf({"in.tif", "--spacing", "3"})), (std::vector<double>{3, 3, 3}));
    info = infoOf({"in.tif", "--no-calibration"});
    EXPECT_EQ(spacings(info), (std::vector<double>{1, 1, 1}));
    EXPECT_EQ(info["axes"][0]["unit"], "");
    EXPECT_EQ(rix({"info", "in.tif", "--spacing", "-1"}).exitCode, 2);
    ASSERT_EQ(sample({"run", "Sample", "inputImage=in.tif", "outputImage=out.nrrd", "--spacing", "7"}).exitCode, 0);
    EXPECT_EQ(spacings(infoOf({"out.nrrd"})), (std::vector<double>{7, 7, 7}));
}

TEST_F(FileOptions, limitsAndCompressionAreKept) {
    writeRamp("in.tif", 100, 100);
    const Ending refused = rix({"info", "in.tif", "--statistics", "--max-image-size", "9K"});
    EXPECT_EQ(refused.exitCode, 4);
    EXPECT_NE(refused.messages.find("take 10000 bytes of memory; at most 9216"), std::string::npos) << refused.messages;
    EXPECT_EQ(rix({"info", "in.tif", "--statistics", "--max-image-size", "10K"}).exitCode, 0);
    for (const auto& [name, expected] : {std::pair("deflate", "deflate"), std::pair("lzw", "LZW"),
                                         std::pair("zstd", "Zstandard"), std::pair("none", "no compression")}) {
        ASSERT_EQ(sample({"run", "Sample", "inputImage=in.tif", "outputImage=out.tif", "--compress", name}).exitCode,
                  0);
        EXPECT_EQ(infoOf({"out.tif"})["storage"].get<std::string>().rfind(expected, 0), 0U) << name;
    }
    EXPECT_EQ(sample({"run", "Sample", "inputImage=in.tif", "outputImage=out.tif", "--compress", "zip"}).exitCode, 2);
    EXPECT_EQ(sample({"run", "Sample", "inputImage=in.tif", "outputImage=out.npy", "--spacing", "2"}).exitCode, 5);
    EXPECT_EQ(sample({"run", "Sample", "inputImage=in.tif", "outputImage=out.npy", "--spacing", "2", "--drop-metadata"})
                  .exitCode,
              0);
}

}  // namespace
}  // namespace rix::cli
