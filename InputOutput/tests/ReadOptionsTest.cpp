#include <png.h>

#include "TestImages.h"

namespace rix::io::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

/// A PNG file with a resolution in pixels a metre, in which our own metadata is as if another program had written it.
void writeWithResolution(const std::filesystem::path& path, double millimetres) {
    MemoryImage image = randomImage(RIX_UINT8, {2, 2, 1, 1, 1});
    image.setSpacingOf(COLUMNS, millimetres);
    image.setSpacingOf(ROWS, millimetres);
    image.setSpatialUnitName("mm");
    writeImage(path, image);
    std::string content = contentOf(path);
    const std::size_t text = content.find("tEXt");
    const std::size_t end = content.find("IDAT");
    content.erase(text - 4, end - text);
    putContent(path, content);
}

TEST(ReadOptions, AResolutionForPrintIsNoCalibration) {
    const TemporaryFolder folder;
    const auto path = folder / "image.png";
    for (const double dots : {72.0, 96.0, 150.0, 300.0, 600.0}) {
        writeWithResolution(path, 25.4 / dots);
        EXPECT_EQ(readImageInfo(path).spacing[COLUMNS], 1.0) << dots;
        EXPECT_EQ(readImage(path)->getSpatialUnitName(), "") << dots;
        const ImageFileInfo info = readImageInfo(path, {.calibration = Calibration::All});
        EXPECT_NEAR(info.spacing[ROWS], 25.4 / dots, 1e-3) << dots;
        EXPECT_EQ(info.spatialUnitName, "mm") << dots;
    }
    writeWithResolution(path, 0.01);
    EXPECT_EQ(readImageInfo(path).spacing[COLUMNS], 0.01);
    EXPECT_EQ(readImage(path)->getSpacingOf(ROWS), 0.01);
    EXPECT_EQ(readImageInfo(path, {.calibration = Calibration::None}).spacing[COLUMNS], 1.0);
    EXPECT_EQ(readImage(path, {.calibration = Calibration::None})->getSpatialUnitName(), "");
}

TEST(ReadOptions, ColoursAreReadAsGreysWhereAsked) {
    const TemporaryFolder folder;
    MemoryImage image = randomImage(RIX_UINT8, {2, 1, 1, 1, 4});
    std::memcpy(image.getInternalBuffer(), "\xff\x0a\x00\x14\x00\x1e\x80\xff", 8);  // red, and a dark one
    image.setColorInterpretation(RGB);
    writeImage(folder / "colour.png", image);
    const ImageFileInfo info = readImageInfo(folder / "colour.png", {.grey = true});
    EXPECT_EQ(info.extents[SPECTRAL_SERIES], 1U);
    const auto grey = readImage(folder / "colour.png", {.grey = true});
    EXPECT_EQ(helper::getExtents(*grey), info.extents);
    EXPECT_EQ(grey->getColorInterpretation(), info.colorInterpretation);
    EXPECT_EQ(grey->getInternalBuffer()[0], 76);
    EXPECT_EQ(grey->getInternalBuffer()[1], 18);  // 0.299 10 + 0.587 20 + 0.114 30

    image.setColorInterpretation(UNKNOWN);
    writeImage(folder / "channels.tif", image);
    EXPECT_EQ(difference(image, *readImage(folder / "channels.tif", {.grey = true})), "");
}

TEST(ReadOptions, WhatTakesMoreMemoryThanAllowedIsRefused) {
    const TemporaryFolder folder;
    MemoryImage image = randomImage(RIX_UINT16, {1000, 500, 2, 1, 1});
    std::memset(image.getInternalBuffer(), 0, 2000000);
    writeImage(folder / "image.tif", image, {.compression = Compression::Deflate});
    const auto expected = AllOf(HasSubstr(" 2000000 bytes"), HasSubstr(" 1999999 are allowed"));
    for (const bool asSetting : {false, true}) {
        ReadOptions options;
        if (asSetting) {
            globalSettings().setValueAsSize_t("RIX_MAXIMUM_IMAGE_SIZE", 1999999);
        } else {
            options.maximumImageSize = 1999999;
        }
        EXPECT_THAT(textOf<LoadingError>([&] { readImage(folder / "image.tif", options); }), expected);
        EXPECT_THAT(textOf<LoadingError>([&] { readImageInfo(folder / "image.tif", options); }), expected);
        options.maximumImageSize = 2000000;  // the caller's word counts more than the setting
        EXPECT_EQ(difference(image, *readImage(folder / "image.tif", options)), "");
    }
    globalSettings().remove("RIX_MAXIMUM_IMAGE_SIZE");
}

TEST(ReadOptions, ReadingIsInterruptedBetweenParts) {
    const TemporaryFolder folder;
    const MemoryImage image = randomImage(RIX_UINT8, {1024, 4096, 1, 1, 1});
    for (const auto& [name, writeOptions] : {std::pair("a.png", WriteOptions{}), std::pair("a.tif", WriteOptions{}),
                                             std::pair("b.tif", WriteOptions{.tileColumns = 256, .tileRows = 256})}) {
        writeImage(folder / name, image, writeOptions);
        int asked = 0;
        const ReadOptions options{.interrupted = [&] { return ++asked == 3; }};
        EXPECT_THAT(textOf<UserCancelException>([&] { readImage(folder / name, options); }), HasSubstr(name));
        EXPECT_EQ(asked, 3) << name;
    }
}

TEST(ReadOptions, BinaryImagesHaveOneBitInFilesAndZeroAndOneInMemory) {
    const TemporaryFolder folder;
    MemoryImage image = randomImage(RIX_UINT8, {37, 5, 1, 1, 1});
    image.setInterpretation(RIX_BINARY);
    MemoryImage expected = image;
    for (std::size_t i = 0; i < std::size_t{37} * 5; ++i) {
        expected.getInternalBuffer()[i] = image.getInternalBuffer()[i] != 0 ? 1 : 0;
    }
    for (const char* name : {"a.png", "a.tif", "a.ome.tif"}) {
        writeImage(folder / name, image);
        EXPECT_EQ(difference(expected, *readImage(folder / name)), "") << name;
        EXPECT_THAT(readImageInfo(folder / name).storage, HasSubstr("1 bits a sample"));
    }
    // Of other types, and with several channels, the samples stay as wide as they are.
    MemoryImage wide = randomImage(RIX_FLOAT64, {4, 1, 1, 1, 1});
    wide.setInterpretation(RIX_BINARY);
    const std::array<double, 4> samples{0.0, -0.0, 0.5, std::numeric_limits<double>::quiet_NaN()};
    std::memcpy(wide.getInternalBuffer(), samples.data(), sizeof(samples));
    writeImage(folder / "wide.tif", wide);
    EXPECT_THAT(samplesOf<double>(*readImage(folder / "wide.tif")), testing::ElementsAre(0.0, 0.0, 1.0, 1.0));
}

}  // namespace
}  // namespace rix::io::test
