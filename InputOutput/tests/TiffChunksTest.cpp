// TIFF files opened on disk, tile by tile, and the levels of their pyramids.

#include <rix/io/ChunkedFile.h>

#include "RawTiff.h"
#include "ZarrTools.h"

namespace rix::io::test {
namespace {

using testing::HasSubstr;

class TiffChunks : public testing::Test {
protected:
    /// Pages of 48 x 40, then of half and of a quarter of that, each with its level as its samples; as SubIFDs or
    /// behind each other.
    void writePyramid(bool named, int pages = 1) const {
        RawTiff raw(m_path);
        for (int page = 0; page < pages; ++page) {
            raw.page(48, 40, 8);
            if (named) {
                const std::uint64_t places[2] = {0, 0};
                raw.set(TIFFTAG_SUBIFD, 2, places);
            }
            raw.block(0, std::vector<std::uint8_t>(48 * 40, static_cast<std::uint8_t>(10 * page))).endPage();
            for (const unsigned level : {1U, 2U}) {
                const auto value = static_cast<std::uint8_t>(10U * static_cast<unsigned>(page) + level);
                raw.page(48U >> level, 40U >> level, 8).set(TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
                raw.block(0, std::vector<std::uint8_t>((48U >> level) * (40U >> level), value)).endPage();
            }
        }
    }

    TemporaryFolder m_folder;
    std::filesystem::path m_path = m_folder / "a.tif";
};

TEST_F(TiffChunks, AreWhatIsReadIntoMemory) {
    const WriteOptions ways[] = {{},
                                 {.compression = Compression::Lzw},
                                 {.compression = Compression::Deflate, .tileColumns = 32, .tileRows = 16},
                                 {.tileColumns = 16, .tileRows = 48, .bigTiff = BigTiff::Always}};
    unsigned seed = 0;
    for (const WriteOptions& options : ways) {
        for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_FLOAT32, RIX_COMPLEX_FLOAT64}) {
            for (const Extents& extents :
                 {Extents{50, 37, 1, 1, 1}, Extents{50, 37, 3, 2, 2}, Extents{21, 50, 1, 1, 3}}) {
                MemoryImage image = randomImage(type, extents, ++seed);
                calibrateFully(image);
                if (extents[SPECTRAL_SERIES] == 3 && type != RIX_COMPLEX_FLOAT64) {
                    image.setColorInterpretation(RGB);
                }
                writeImage(m_path, image, options);
                EXPECT_EQ(difference(image, *openImage(m_path)), "") << seed;
            }
        }
        MemoryImage binary = randomImage(RIX_UINT8, {50, 37, 2, 1, 1});
        interpret(binary, RIX_BINARY);
        writeImage(m_path, binary, options);
        EXPECT_EQ(difference(binary, *openImage(m_path)), "");
    }
    // A picture that is stored upside down and from right to left, in tiles that its size is no multiple of.
    {
        RawTiff raw(m_path);
        raw.page(20, 18, 8).set(TIFFTAG_ORIENTATION, ORIENTATION_BOTRIGHT);
        raw.set(TIFFTAG_TILEWIDTH, 16U).set(TIFFTAG_TILELENGTH, 16U);
        for (std::uint32_t tile = 0; tile < 4; ++tile) {
            std::vector<std::uint8_t> samples(256);
            for (std::size_t i = 0; i < samples.size(); ++i) {
                samples[i] = static_cast<std::uint8_t>(31 * i + tile);
            }
            raw.block(tile, samples);
        }
    }
    EXPECT_EQ(difference(*readImage(m_path), *openImage(m_path)), "");
    EXPECT_FALSE(isForOpening(m_path)) << "memory has room for it";
}

TEST_F(TiffChunks, AreReadOneByOne) {
    const MemoryImage image = randomImage(RIX_UINT16, {128, 96, 3, 1, 1}, 9);
    writeImage(m_path, image, {.compression = Compression::Deflate, .tileColumns = 32, .tileRows = 32});
    const std::string sound = contentOf(m_path);
    const auto tilesOf = [&](std::uint16_t page) {
        std::vector<std::uint64_t> places;
        TIFF* const tiff = TIFFOpen(m_path.c_str(), "r");
        TIFFSetDirectory(tiff, page);
        for (std::uint32_t tile = 0; tile < TIFFNumberOfTiles(tiff); ++tile) {
            places.push_back(TIFFGetStrileOffset(tiff, tile));
        }
        TIFFClose(tiff);
        return places;
    };
    std::vector<std::uint64_t> tiles;
    for (std::uint16_t page = 0; page < 3; ++page) {
        const auto more = tilesOf(page);
        tiles.insert(tiles.end(), more.begin(), more.end());
    }
    ASSERT_EQ(tiles.size(), 36U);
    // Whichever tile is damaged without being noticed was not looked at.
    std::size_t needed = 0;
    for (const std::uint64_t tile : tiles) {
        std::string damaged = sound;
        damaged.replace(tile, 8, 8, '\xEE');
        putContent(m_path, damaged);
        const auto opened = openImage(m_path);
        std::uint8_t row[2 * 50];
        bool isRead = true;
        for (std::size_t y = 40; y < 70; ++y) {
            isRead = opened->readRowAt(50, row, 40, y, 1, 0, 0) && isRead;
        }
        needed += isRead ? 0U : 1U;
    }
    EXPECT_EQ(needed, 4U) << "columns 32 to 95 and rows 32 to 95 of the second page";
}

TEST_F(TiffChunks, CountInFullWhereTheyAreLargerThanTheirImage) {
    {
        RawTiff file(m_path);
        file.page(10, 10, 8).set(TIFFTAG_TILEWIDTH, 4096).set(TIFFTAG_TILELENGTH, 4096);
        std::vector<std::uint8_t> tile(std::size_t{4096} * 4096, 7);
        TIFFWriteTile(file.get(), tile.data(), 0, 0, 0, 0);
    }
    EXPECT_EQ(openImage(m_path)->getNumOf(COLUMNS), 10U);
    ReadOptions options;
    options.maximumImageSize = 1000000;
    EXPECT_THAT(textOf<LoadingError>([&] { openImage(m_path, options); }),
                testing::AllOf(HasSubstr("16777216"), HasSubstr("1000000")));
}

TEST_F(TiffChunks, AreWrittenInWhateverOrder) {
    MemoryImage content = randomImage(RIX_UINT16, {100, 75, 2, 1, 3}, 4);
    calibrateFully(content);
    const WriteOptions tiles{
        .compression = Compression::Deflate, .tileColumns = 32, .tileRows = 16, .bigTiff = BigTiff::Always};
    for (const char* name : {"a.tif", "a.ome.tif", "a.nrrd"}) {
        const bool isTiff = std::string(name) != "a.nrrd";
        const WriteOptions options = isTiff ? tiles : WriteOptions();
        const std::filesystem::path path = m_folder / name;
        const auto image = createImage(path, options);
        ASSERT_TRUE(image->reserve(RIX_UINT16, 100, 75, 2, 1, 3));
        std::vector<std::uint8_t> row(200);
        for (std::size_t i = 75 * 6; i-- > 0;) {
            const std::size_t y = i * 7 % 75;
            ASSERT_TRUE(content.readRowAt(100, row.data(), 0, y, i / 75 % 2, 0, i / 150));
            ASSERT_TRUE(image->writeRowAt(100, row.data(), 0, y, i / 75 % 2, 0, i / 150));
        }
        calibrateFully(*image);
        EXPECT_FALSE(std::filesystem::exists(path));
        image->close();
        const std::string written = contentOf(path);
        writeImage(path, content, options);
        EXPECT_EQ(written, contentOf(path)) << "each tile once, as they follow each other";
        if (isTiff) {
            TIFF* const tiff = TIFFOpen(path.c_str(), "r");
            EXPECT_TRUE(TIFFIsTiled(tiff) && TIFFIsBigTIFF(tiff));
            TIFFClose(tiff);
        }
    }
    const auto tooMany = createImage(m_folder / "a.png");
    EXPECT_FALSE(tooMany->reserve(RIX_FLOAT32, 9, 9, 1, 1, 1)) << "PNG does not hold that";
    EXPECT_EQ(m_folder.names().size(), 3U) << "something was left over";
}

TEST_F(TiffChunks, HaveLevels) {
    for (const bool named : {true, false}) {
        writePyramid(named, 2);
        EXPECT_EQ(readImageInfo(m_path).levels, 3U) << named;
        EXPECT_EQ(extentsOf(*readImage(m_path)), (Extents{48, 40, 2, 1, 1}));
        for (const unsigned level : {0U, 1U, 2U}) {
            const ReadOptions options = selecting("level=" + std::to_string(level));
            const auto image = readImage(m_path, options);
            ASSERT_EQ(extentsOf(*image), (Extents{48U >> level, 40U >> level, 2, 1, 1})) << named;
            EXPECT_EQ(samplesOf<std::uint8_t>(*image).front(), level);
            EXPECT_EQ(samplesOf<std::uint8_t>(*image).back(), 10 + level);
            EXPECT_EQ(image->getSpacingOf(COLUMNS), 1U << level);
            EXPECT_EQ(image->getOriginOf(ROWS), ((1U << level) - 1) / 2.0);
            EXPECT_EQ(difference(*image, *openImage(m_path, options)), "");
        }
        EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path, selecting("level=3")); }), HasSubstr("3 levels"));
    }
    // Whatever the file says, an image or a LoadingError.
    writePyramid(true);
    const std::string sound = contentOf(m_path);
    std::mt19937 random(7);
    std::size_t images = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string content = sound;
        const std::size_t at = round % 2 == 0 ? sound.size() - 1 - random() % 1000 : random() % sound.size();
        content[at] = static_cast<char>(random());
        putContent(m_path, content);
        try {
            readImage(m_path, selecting("level=1"));
            ++images;
        } catch (const LoadingError&) {
        }
    }
    EXPECT_GT(images, 100U);
    EXPECT_LT(images, 2000U);
}

}  // namespace
}  // namespace rix::io::test
