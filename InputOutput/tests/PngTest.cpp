#include <cstdio>

#include <png.h>

#include "../src/Units.h"
#include "TestImages.h"

namespace rix::io::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A PNG file as other programs write it, from rows as they are stored.
struct RawPng {
    png_uint_32 columns = 1;
    png_uint_32 rows = 1;
    int depth = 8;
    int color = PNG_COLOR_TYPE_GRAY;
    int interlacing = PNG_INTERLACE_NONE;
    std::vector<png_color> palette{};
    std::vector<png_byte> alphas{};  // of palette entries
    std::vector<png_byte> samples{};

    void write(const std::filesystem::path& path) const {
        std::FILE* file = std::fopen(path.c_str(), "wb");
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_init_io(png, file);
        png_set_IHDR(png, info, columns, rows, depth, color, interlacing, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        if (!palette.empty()) {
            png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
        }
        if (!alphas.empty()) {
            png_set_tRNS(png, info, alphas.data(), static_cast<int>(alphas.size()), nullptr);
        }
        png_write_info(png, info);
        std::vector<png_bytep> pointers;
        const std::size_t rowBytes = samples.size() / rows;
        for (std::size_t row = 0; row < rows; ++row) {
            pointers.push_back(const_cast<png_bytep>(samples.data()) + row * rowBytes);
        }
        png_write_image(png, pointers.data());
        png_write_end(png, info);
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
    }
};

TEST(Png, KeepsEveryBitOfWhatItHolds) {
    const TemporaryFolder folder;
    unsigned seed = 1;
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16}) {
        for (const Extents& shape :
             {Extents{1, 1, 1, 1, 1}, Extents{37, 23, 1, 1, 1}, Extents{300, 200, 1, 1, 3}, Extents{3, 5, 1, 1, 4}}) {
            for (const Compression compression : {Compression::FormatDefault, Compression::None}) {
                for (const Interpretations interpretation : {RIX_BINARY, RIX_LABEL, RIX_VALUE}) {
                    MemoryImage image = randomImage(type, shape, ++seed);
                    interpret(image, interpretation);
                    image.setColorInterpretation(shape[4] == 1 ? UNKNOWN : RGB);
                    image.setSpacingOf(COLUMNS, 0.1);
                    image.setSpacingOf(ROWS, 1.0 / 3.0);
                    image.setOriginOf(ROWS, -7.7);
                    image.setSpatialUnitName("µm");
                    writeImage(folder / "image.PNG", image, {.compression = compression});
                    EXPECT_EQ(difference(image, *readImage(folder / "image.PNG")), "") << helper::describeImage(image);
                }
            }
        }
    }
}

TEST(Png, RefusesWhatItCannotHoldAndNamesTheFormatsThatCan) {
    const TemporaryFolder folder;
    struct Case {
        VoxelTypes type;
        Extents extents;
        WriteOptions options;
        const char* reason;
        bool tiff;
    };
    for (const Case& c : {Case{RIX_FLOAT32, {2, 2, 1, 1, 1}, {}, "type float32, only uint8 and uint16", true},
                          Case{RIX_INT8, {2, 2, 1, 1, 1}, {}, "samples of type int8", true},
                          Case{RIX_UINT8, {2, 2, 3, 1, 1}, {}, "more than one plane", true},
                          Case{RIX_UINT8, {2, 2, 1, 3, 1}, {}, "more than one plane", true},
                          Case{RIX_UINT8, {2, 2, 1, 1, 3}, {}, "3 channels of colour interpretation unknown", true},
                          Case{RIX_UINT8, {2, 2, 1, 1, 1}, {.compression = Compression::Lzw}, "no LZW", true},
                          Case{RIX_UINT8, {2, 2, 1, 1, 1}, {.tileColumns = 16, .tileRows = 16}, "no tiles", true},
                          Case{RIX_UINT8, {2, 0, 1, 1, 1}, {}, "The image is empty", false}}) {
        const MemoryImage image = randomImage(c.type, c.extents);
        const std::string text = textOf<WritingError>([&] { writeImage(folder / "image.png", image, c.options); });
        EXPECT_THAT(text, HasSubstr(c.reason));
        EXPECT_THAT(text, HasSubstr(c.tiff ? "It can be written as TIFF" : "No other format can hold it."));
        EXPECT_TRUE(folder.names().empty());
    }
}

TEST(Png, FewBitsBecomeEightOrBinary) {
    const TemporaryFolder folder;
    struct Case {
        int depth;
        std::vector<png_byte> stored;
        std::vector<png_byte> expected;
    };
    for (const int interlacing : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7}) {
        for (const Case& c : {Case{1, {0b10110000}, {1, 0, 1, 1}}, Case{2, {0b00011011}, {0, 85, 170, 255}},
                              Case{4, {0x0F, 0x18}, {0, 255, 17, 136}}}) {
            RawPng{.columns = 4, .depth = c.depth, .interlacing = interlacing, .samples = c.stored}.write(folder / "p");
            const auto image = readImage(folder / "p");
            EXPECT_EQ(samplesOf<std::uint8_t>(*image), c.expected) << c.depth;
            EXPECT_EQ(image->getInterpretation(), c.depth == 1 ? RIX_BINARY : RIX_VALUE);
            EXPECT_EQ(readImageInfo(folder / "p").interpretation, image->getInterpretation());
        }
    }
}

TEST(Png, PalettesAndOpacity) {
    const TemporaryFolder folder;
    RawPng indexed{.columns = 4,
                   .depth = 2,
                   .color = PNG_COLOR_TYPE_PALETTE,
                   .palette = {{1, 2, 3}, {10, 20, 30}, {100, 200, 255}},
                   .samples = {0b00011000}};
    indexed.write(folder / "p");
    auto image = readImage(folder / "p");
    EXPECT_EQ(image->getColorInterpretation(), RGB);
    EXPECT_THAT(samplesOf<std::uint8_t>(*image), ElementsAre(1, 10, 100, 1, 2, 20, 200, 2, 3, 30, 255, 3));
    indexed.alphas = {0, 128};
    indexed.write(folder / "p");
    EXPECT_THAT(samplesOf<std::uint8_t>(*readImage(folder / "p")),
                ElementsAre(1, 10, 100, 1, 2, 20, 200, 2, 3, 30, 255, 3, 0, 128, 255, 0));
    EXPECT_EQ(readImageInfo(folder / "p").extents, (Extents{4, 1, 1, 1, 4}));
    RawPng{.depth = 16, .color = PNG_COLOR_TYPE_GRAY_ALPHA, .samples = {0x12, 0x34, 0x00, 0x07}}.write(folder / "p");
    image = readImage(folder / "p");
    EXPECT_THAT(samplesOf<std::uint16_t>(*image), ElementsAre(0x1234, 7));
    EXPECT_EQ(image->getColorInterpretation(), UNKNOWN);
}

TEST(Png, InterlacedPicturesOfAwkwardSizes) {
    const TemporaryFolder folder;
    for (const png_uint_32 columns : {1U, 2U, 5U, 9U, 17U}) {
        for (const png_uint_32 rows : {1U, 3U, 8U, 9U}) {
            RawPng raw{.columns = columns, .rows = rows, .color = PNG_COLOR_TYPE_RGB};
            for (std::size_t i = 0; i < std::size_t{3} * columns * rows; ++i) {
                raw.samples.push_back(static_cast<png_byte>(i * 7));
            }
            raw.write(folder / "plain");
            raw.interlacing = PNG_INTERLACE_ADAM7;
            raw.write(folder / "interlaced");
            EXPECT_EQ(difference(*readImage(folder / "plain"), *readImage(folder / "interlaced")), "");
        }
    }
}

TEST(Png, ResolutionIsWrittenAndReadInMetres) {
    const TemporaryFolder folder;
    MemoryImage image = randomImage(RIX_UINT8, {2, 2, 1, 1, 1});
    image.setSpacingOf(COLUMNS, 0.5);
    image.setSpacingOf(ROWS, 0.25);
    for (const char* unit : {"mm", "cm", "µm", "inch"}) {
        image.setSpatialUnitName(unit);
        writeImage(folder / "image.png", image);
        // Another program changes the keyword of our text, so that the field of the format is what remains.
        std::string content = contentOf(folder / "image.png");
        const std::size_t text = content.find("tEXtrix-image");
        ASSERT_NE(text, std::string::npos);
        const std::size_t length = static_cast<unsigned char>(content[text - 2]) * std::size_t{256} +
                                   static_cast<unsigned char>(content[text - 1]);
        content.erase(text - 4, length + 12);
        putContent(folder / "image.png", content);
        const ImageFileInfo info = readImageInfo(folder / "image.png");
        const double millimetres = *metresOf(unit) * 1000.0;
        // The field counts whole pixels a metre: half of one is 0.3 per cent at 0.5 inch.
        EXPECT_NEAR(info.spacing[COLUMNS], 0.5 * millimetres, 2e-3 * millimetres) << unit;
        EXPECT_NEAR(info.spacing[ROWS], 0.25 * millimetres, 1e-3 * millimetres) << unit;
        EXPECT_EQ(info.spatialUnitName, "mm");
    }
}

}  // namespace
}  // namespace rix::io::test
