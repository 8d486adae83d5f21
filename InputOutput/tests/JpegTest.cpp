// JPEG, the only format that changes samples.

#include "TestImages.h"

namespace rix::io::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// A smooth picture whose channels differ, as photographs do.
MemoryImage picture(std::size_t columns, std::size_t rows, std::size_t channels) {
    MemoryImage image = randomImage(RIX_UINT8, {columns, rows, 1, 1, channels});
    image.setColorInterpretation(channels == 3 ? RGB : UNKNOWN);
    std::vector<std::uint8_t> row(columns);
    for (std::size_t c = 0; c < channels; ++c) {
        for (std::size_t y = 0; y < rows; ++y) {
            for (std::size_t x = 0; x < columns; ++x) {
                const double phase = 0.11 * static_cast<double>(x) + 0.07 * static_cast<double>(y * (c + 1));
                row[x] = static_cast<std::uint8_t>(128.0 + 100.0 * std::sin(phase + static_cast<double>(c)));
            }
            EXPECT_TRUE(image.writeRowAt(columns, row.data(), 0, y, 0, 0, c));
        }
    }
    return image;
}

int largestDifference(const MemoryImage& a, const MemoryImage& b) {
    const auto first = samplesOf<std::uint8_t>(a);
    const auto second = samplesOf<std::uint8_t>(b);
    int largest = 0;
    for (std::size_t i = 0; i < first.size(); ++i) {
        largest = std::max(largest, std::abs(int{first[i]} - int{second[i]}));
    }
    return largest;
}

TEST(Jpeg, KeepsPicturesNearlyAndWhatIsKnownOfThem) {
    const TemporaryFolder folder;
    for (const std::size_t channels : {1U, 3U}) {
        for (const auto& [columns, rows] : {std::pair{1U, 1U}, std::pair{67U, 45U}, std::pair{640U, 480U}}) {
            MemoryImage image = picture(columns, rows, channels);
            image.setSpacingOf(COLUMNS, 0.3);
            image.setSpacingOf(ROWS, 25.4 / 72.0);
            image.setOriginOf(ROWS, -7.25);
            image.setSpatialUnitName("mm");
            std::uintmax_t smaller = 0;
            int worse = 255;
            for (const int quality : {20, 0, 100}) {
                writeImage(folder / "a.jpg", image, {.quality = quality});
                const auto bytes = std::filesystem::file_size(folder / "a.jpg");
                EXPECT_GE(bytes, smaller);
                smaller = bytes;
                const auto read = readImage(folder / "a.jpg");
                const int error = largestDifference(image, *read);
                EXPECT_LE(error, std::min(worse, quality == 20  ? 60
                                                 : quality == 0 ? 16
                                                                : 4))
                    << channels << ' ' << columns << ' ' << quality;
                worse = error;
                std::memcpy(read->getInternalBuffer(), image.getInternalBuffer(), columns * rows * channels);
                EXPECT_EQ(difference(image, *read), "");
            }
        }
    }
}

/// The density that other programs read: unit, columns, rows.
std::array<int, 3> densityIn(const std::string& content) {
    const auto at = [&](std::size_t place) { return int{static_cast<unsigned char>(content.at(place))}; };
    EXPECT_EQ(content.substr(6, 4), "JFIF");
    return {at(13), at(14) * 256 + at(15), at(16) * 256 + at(17)};
}

TEST(Jpeg, TellsOthersASpacingThatItsDensityHolds) {
    const TemporaryFolder folder;
    struct Case {
        double x;
        double y;
        const char* unit;
        std::array<int, 3> density;
    };
    for (const Case& c :
         {Case{0.05, 0.1, "mm", {2, 200, 100}}, Case{25.4 / 300, 25.4 / 300, "mm", {1, 300, 300}},
          Case{0.5, 0.5, "um", {2, 20000, 20000}}, Case{1.0, 1.0, "", {0, 1, 1}}, Case{7.0, 7.0, "mm", {0, 1, 1}},
          Case{0.1, 0.1, "um", {0, 1, 1}}, Case{1.0, 1.0, "px", {0, 1, 1}}}) {
        MemoryImage image = picture(8, 8, 1);
        image.setSpacingOf(COLUMNS, c.x);
        image.setSpacingOf(ROWS, c.y);
        image.setSpatialUnitName(c.unit);
        writeImage(folder / "a.jpg", image);
        std::string content = contentOf(folder / "a.jpg");
        EXPECT_EQ(densityIn(content), c.density) << c.x << ' ' << c.unit;
        EXPECT_EQ(readImageInfo(folder / "a.jpg").spacing[0], c.x);
        EXPECT_EQ(readImageInfo(folder / "a.jpg").spatialUnitName, c.unit);
        // Without what we noted beside, the density counts, unless it is one for print.
        content.replace(content.find("rix_size"), 8, "xxx_size");
        putContent(folder / "a.jpg", content);
        const double fromDensity = c.density[0] == 2 ? 10.0 / c.density[1] : 1.0;
        EXPECT_DOUBLE_EQ(readImageInfo(folder / "a.jpg").spacing[0], fromDensity);
    }
    const ImageFileInfo info = readImageInfo(folder / "a.jpg", {.calibration = Calibration::All});
    EXPECT_EQ(info.spacing[0], 1.0) << "a ratio of sides is no spacing";
}

TEST(Jpeg, RefusesWhatItWouldSpoil) {
    const TemporaryFolder folder;
    const auto refusalOf = [&](const MemoryImage& image, const WriteOptions& options = {}) {
        return textOf<WritingError>([&] { writeImage(folder / "a.jpg", image, options); });
    };
    MemoryImage image = picture(9, 7, 1);
    image.setInterpretation(RIX_LABEL);
    EXPECT_THAT(refusalOf(image), AllOf(HasSubstr("would make other labels. It can be written as TIFF, "),
                                        Not(HasSubstr(", JPEG")), Not(HasSubstr("or Raw"))));
    EXPECT_THAT(refusalOf(image, {.dropMetadata = true}), HasSubstr("make other labels"));
    interpret(image, RIX_BINARY);
    EXPECT_THAT(refusalOf(image), HasSubstr("make greys of a binary image"));
    for (const auto& [type, extents, text] :
         {std::tuple{RIX_UINT16, Extents{4, 4, 1, 1, 1}, "samples of type uint16, only uint8"},
          std::tuple{RIX_UINT8, Extents{4, 4, 2, 1, 1}, "more than one plane of grey or RGB"},
          std::tuple{RIX_UINT8, Extents{4, 4, 1, 2, 1}, "more than one plane"},
          std::tuple{RIX_UINT8, Extents{4, 4, 1, 1, 3}, "more than one plane"},
          std::tuple{RIX_UINT8, Extents{65501, 1, 1, 1, 1}, "more than 65500 columns"}}) {
        EXPECT_THAT(refusalOf(randomImage(type, extents)), AllOf(HasSubstr(text), HasSubstr("TIFF")));
    }
    const MemoryImage grey = picture(9, 7, 1);
    EXPECT_THAT(refusalOf(grey, {.compression = Compression::Deflate}), HasSubstr("what it takes is a quality"));
    EXPECT_THAT(refusalOf(grey, {.quality = 101}), HasSubstr("from 1 to 100, not 101"));
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / "a.tif", grey, {.quality = 50}); }),
                HasSubstr("TIFF keeps samples as they are and has no quality to choose. It can be written as JPEG."));
    EXPECT_TRUE(folder.names().empty());
}

}  // namespace
}  // namespace rix::io::test
