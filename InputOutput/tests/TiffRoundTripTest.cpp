#include "RawTiff.h"
#include "TestImages.h"

namespace rix::io::test {
namespace {

using testing::HasSubstr;
using testing::Not;

struct Storage {
    const char* name;
    WriteOptions options;
};

const std::vector<Storage>& storages() {
    static const std::vector<Storage> all{
        {"plain", {}},
        {"LZW", {.compression = Compression::Lzw}},
        {"deflate", {.compression = Compression::Deflate}},
        {"tiles", {.compression = Compression::None, .tileColumns = 32, .tileRows = 16}},
        {"deflated tiles", {.compression = Compression::Deflate, .tileColumns = 16, .tileRows = 48}},
        {"Zstandard", {.compression = Compression::Zstd}},
        {"BigTIFF", {.compression = Compression::Lzw, .bigTiff = BigTiff::Always}},
    };
    return all;
}

TEST(TiffRoundTrip, KeepsEveryBitOfAllTypesAxesAndStorages) {
    const TemporaryFolder folder;
    const auto path = folder / "image.tif";
    const std::vector<Extents> shapes{{1, 1, 1, 1, 1},   {37, 23, 1, 1, 1}, {5, 4, 3, 1, 1}, {16, 16, 1, 4, 1},
                                      {33, 17, 1, 1, 5}, {7, 5, 2, 3, 2},   {1, 50, 2, 1, 2}};
    unsigned seed = 1;
    for (const VoxelTypes type : rix::test::allTypes) {
        for (const Extents& shape : shapes) {
            for (const Storage& storage : storages()) {
                const MemoryImage image = randomImage(type, shape, ++seed);
                writeImage(path, image, storage.options);
                EXPECT_EQ(difference(image, *readImage(path)), "")
                    << helper::describeImage(image) << ' ' << storage.name;
            }
        }
    }
}

TEST(TiffRoundTrip, CutsLongImagesIntoStrips) {
    const TemporaryFolder folder;
    const MemoryImage image = randomImage(RIX_FLOAT64, {301, 507, 2, 1, 1});
    for (const Storage& storage : storages()) {
        writeImage(folder / "image.tif", image, storage.options);
        EXPECT_EQ(difference(image, *readImage(folder / "image.tif")), "") << storage.name;
    }
    const MemoryImage longRow = randomImage(RIX_UINT16, {300001, 2, 1, 1, 1});
    writeImage(folder / "row.tif", longRow);
    EXPECT_EQ(difference(longRow, *readImage(folder / "row.tif")), "");
}

TEST(TiffRoundTrip, KeepsColours) {
    const TemporaryFolder folder;
    const auto path = folder / "image.tiff";
    struct Case {
        ColorInterpretation color;
        std::size_t channels;
        bool colorPixels;  // samples of a pixel, not pages
    };
    for (const Case& c : {Case{RGB, 3, true}, Case{RGB, 4, true}, Case{RGB, 2, false}, Case{HSL, 3, false},
                          Case{YIQ, 3, false}, Case{NRGB, 4, false}, Case{UNKNOWN, 3, false}}) {
        for (const Storage& storage : storages()) {
            for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_FLOAT32}) {
                MemoryImage image = randomImage(type, {19, 18, 2, 2, c.channels});
                image.setColorInterpretation(c.color);
                writeImage(path, image, storage.options);
                EXPECT_EQ(difference(image, *readImage(path)), "")
                    << c.color << ' ' << c.channels << ' ' << storage.name;
                const RawTiff raw(path, "r");
                EXPECT_EQ(TIFFNumberOfDirectories(raw.get()), 4 * (c.colorPixels ? 1 : c.channels));
            }
        }
    }
}

TEST(TiffRoundTrip, KeepsInterpretationAndCalibrationToTheBit) {
    const TemporaryFolder folder;
    for (const char* name : {"image.tif", "other.TIFF"}) {
        for (const Interpretations interpretation : {RIX_BINARY, RIX_LABEL, RIX_VALUE}) {
            MemoryImage image = randomImage(RIX_UINT8, {6, 5, 4, 3, 2});
            interpret(image, interpretation);
            const std::array<double, 5> spacings{0.1, 1.0 / 3.0, 2e-7, 0.04, 12.5};
            const std::array<double, 5> origins{-17.3, 1e9 / 7.0, 0.0, 3.25, -1e-12};
            for (int axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
                const auto index = static_cast<std::size_t>(axis);
                image.setSpacingOf(static_cast<Components>(axis), spacings[index]);
                image.setOriginOf(static_cast<Components>(axis), origins[index]);
            }
            image.setSpatialUnitName("µm = \\ two\nlines, \U0001F52C");
            image.setSequenceUnitName("s");
            image.setSpatialDirections({{0.6, 0.8, 0.0}, {-0.8, 0.6, 0.0}, {0.0, 0.0, -1.0}});
            writeImage(folder / name, image);
            EXPECT_EQ(difference(image, *readImage(folder / name)), "");

            const ImageFileInfo info = readImageInfo(folder / name);
            EXPECT_EQ(info.format, "TIFF");
            EXPECT_EQ(info.extents, (Extents{6, 5, 4, 3, 2}));
            EXPECT_EQ(info.interpretation, interpretation);
            EXPECT_EQ(info.spacing, spacings);
            EXPECT_EQ(info.origin, origins);
            EXPECT_EQ(info.fileBytes, std::filesystem::file_size(folder / name));
        }
    }
}

TEST(TiffRoundTrip, SpacingsThatAreNoneBecomeOne) {
    const TemporaryFolder folder;
    MemoryImage image = randomImage(RIX_UINT8, {3, 3, 2, 1, 1});
    image.setSpacingOf(COLUMNS, 0.0);
    image.setSpacingOf(ROWS, -2.0);
    image.setSpacingOf(PLANS, std::numeric_limits<double>::quiet_NaN());
    image.setSpacingOf(SEQUENCE, 0.5);
    writeImage(folder / "image.tif", image);
    const auto spacing = readImageInfo(folder / "image.tif").spacing;
    EXPECT_EQ(spacing, (std::array<double, 5>{1.0, 1.0, 1.0, 0.5, 1.0}));
}

TEST(TiffRoundTrip, OtherReadersFindAxesAndCalibration) {
    const TemporaryFolder folder;
    MemoryImage image = randomImage(RIX_UINT16, {8, 9, 4, 3, 2});
    image.setSpacingOf(COLUMNS, 0.25);
    image.setSpacingOf(ROWS, 0.5);
    image.setSpacingOf(PLANS, 1.5);
    image.setSpacingOf(SEQUENCE, 30.0);
    image.setOriginOf(COLUMNS, -2.5);
    image.setSpatialUnitName("µm");
    image.setSequenceUnitName("min");
    image.setInterpretation(RIX_LABEL);
    writeImage(folder / "image.tif", image);

    const RawTiff raw(folder / "image.tif", "r");
    EXPECT_EQ(TIFFNumberOfDirectories(raw.get()), 24U);
    const char* description = nullptr;
    ASSERT_EQ(TIFFGetField(raw.get(), TIFFTAG_IMAGEDESCRIPTION, &description), 1);
    EXPECT_EQ(std::string(description).rfind("ImageJ=", 0), 0U);
    for (const char* line :
         {"\nimages=24\n", "\nchannels=2\n", "\nslices=4\n", "\nframes=3\n", "\nhyperstack=true\n", "\nunit=\\u00B5m\n",
          "\nspacing=1.5\n", "\nfinterval=30\n", "\ntunit=min\n", "\nxorigin=10\n", "\nrix_interpretation=label\n"}) {
        EXPECT_THAT(description, HasSubstr(line));
    }
    float x = 0.0F;
    float y = 0.0F;
    ASSERT_EQ(TIFFGetField(raw.get(), TIFFTAG_XRESOLUTION, &x), 1);
    ASSERT_EQ(TIFFGetField(raw.get(), TIFFTAG_YRESOLUTION, &y), 1);
    EXPECT_EQ(x, 4.0F);
    EXPECT_EQ(y, 2.0F);
    // Channels follow each other fastest: the page of channel 1, slice 2, frame 1 is 1 + 2 * (2 + 4 * 1).
    ASSERT_EQ(TIFFSetDirectory(raw.get(), 13), 1);
    std::vector<std::uint8_t> strip(8 * 9 * 2);
    ASSERT_EQ(TIFFReadEncodedStrip(raw.get(), 0, strip.data(), static_cast<tmsize_t>(strip.size())),
              static_cast<tmsize_t>(strip.size()));
    ConstRawData row = nullptr;
    ASSERT_TRUE(image.getConstRowAt(8, row, 0, 0, 2, 1, 1));
    EXPECT_EQ(std::memcmp(strip.data(), row, strip.size()), 0);
}

TEST(TiffRoundTrip, TilesAndCompressionAreAsAsked) {
    const TemporaryFolder folder;
    const MemoryImage image = randomImage(RIX_UINT8, {100, 70, 1, 1, 1});
    struct Case {
        WriteOptions options;
        const char* storage;
    };
    for (const Case& c : {Case{{}, "no compression, strips of 70 rows, 8 bits a sample"},
                          Case{{.compression = Compression::Lzw, .tileColumns = 64, .tileRows = 16},
                               "LZW, tiles of 64 x 16, 8 bits a sample"},
                          Case{{.compression = Compression::Deflate, .bigTiff = BigTiff::Always},
                               "deflate, strips of 70 rows, 8 bits a sample, BigTIFF"}}) {
        writeImage(folder / "image.tif", image, c.options);
        EXPECT_EQ(readImageInfo(folder / "image.tif").storage, c.storage);
    }
}

// Readers that take a stack of ImageJ's for one array look for the samples of all pages behind those of the first one.
TEST(TiffRoundTrip, SamplesOfAllPagesFollowEachOther) {
    const TemporaryFolder folder;
    for (const Storage& storage : storages()) {
        if (storage.options.compression != Compression::FormatDefault &&
            storage.options.compression != Compression::None) {
            continue;
        }
        for (const Interpretations interpretation : {RIX_VALUE, RIX_BINARY}) {
            MemoryImage image = randomImage(RIX_UINT8, {40, 7001, 3, 2, 1});
            interpret(image, interpretation);
            writeImage(folder / "image.tif", image, storage.options);
            const RawTiff raw(folder / "image.tif", "r");
            std::uint64_t next = 8;
            const std::uint32_t blocks =
                TIFFIsTiled(raw.get()) != 0 ? TIFFNumberOfTiles(raw.get()) : TIFFNumberOfStrips(raw.get());
            do {
                for (std::uint32_t block = 0; block < blocks; ++block) {
                    ASSERT_EQ(TIFFGetStrileOffset(raw.get(), block), next) << storage.name;
                    next += TIFFGetStrileByteCount(raw.get(), block);
                }
            } while (TIFFReadDirectory(raw.get()) == 1);
            ASSERT_EQ(TIFFSetDirectory(raw.get(), 0), 1);
            EXPECT_GE(TIFFCurrentDirOffset(raw.get()), next);
            EXPECT_EQ(difference(image, *readImage(folder / "image.tif")), "");
        }
    }
}

// Whether the 64-bit form is chosen must be known before the first byte is written: here from extents alone, the
// image ends the writing at its first row.
TEST(TiffRoundTrip, SamplesPast4GiBGet64BitOffsets) {
    struct HugeImage : MemoryImage {
        std::size_t rows = 0;
        std::filesystem::path folder;
        mutable bool big = false;
        std::size_t getNumOf(const Components& axis) const override {
            return axis == COLUMNS ? 1048576 : axis == ROWS ? rows : 1;
        }
        bool readRowAt(std::size_t count, RawData buffer, std::size_t, std::size_t row, std::size_t, std::size_t,
                       std::size_t) const override {
            std::memset(buffer, 0, count);
            for (const auto& entry : std::filesystem::directory_iterator(folder)) {
                big = contentOf(entry.path()).substr(0, 4) == std::string("II+\0", 4);
            }
            return row == 0;
        }
    };
    const TemporaryFolder folder;
    for (const std::size_t rows : {std::size_t{3000}, std::size_t{4096}}) {
        HugeImage image;
        image.rows = rows;
        image.folder = folder.path();
        textOf<WritingError>([&] { writeImage(folder / "image.tif", image); });
        EXPECT_EQ(image.big, rows == 4096);
        EXPECT_TRUE(folder.names().empty());
    }
}

}  // namespace
}  // namespace rix::io::test
