// OME-Zarr as it is written here, and as the format lets others write it.

#include <rix/io/ChunkedFile.h>
#include <rix/settings/Settings.h>

#include "ZarrTools.h"

namespace rix::io::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr VoxelTypes AllTypes[] = {RIX_UINT8,           RIX_UINT16,         RIX_UINT32,  RIX_INT8,
                                   RIX_INT16,           RIX_INT32,          RIX_FLOAT32, RIX_FLOAT64,
                                   RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64};

class Zarr : public testing::Test {
protected:
    /// The values of an array of bytes made by hand.
    std::vector<std::uint8_t> bytesOf(const RawZarr& array, const ReadOptions& options = {}) const {
        putInto(m_path / ".zarray", array.text());
        return samplesOf<std::uint8_t>(*readImage(m_path, options));
    }
    std::string refusalOf(const RawZarr& array) const {
        putInto(m_path / ".zarray", array.text());
        return textOf<LoadingError>([&] { readImage(m_path); });
    }

    TemporaryFolder m_folder;
    std::filesystem::path m_path = m_folder / "a.zarr";
};

TEST_F(Zarr, KeepsEverythingOfEveryImage) {
    unsigned seed = 0;
    const Extents shapes[] = {{9, 7, 1, 1, 1}, {5, 1, 3, 1, 1}, {1, 6, 1, 4, 1}, {7, 5, 1, 1, 3}, {6, 5, 4, 3, 2}};
    for (const VoxelTypes type : AllTypes) {
        for (const Extents& extents : shapes) {
            MemoryImage image = randomImage(type, extents, ++seed);
            calibrateFully(image);
            if (extents[SPECTRAL_SERIES] == 3) {
                image.setColorInterpretation(RGB);
            }
            const Compression compression[] = {Compression::FormatDefault, Compression::None, Compression::Deflate,
                                               Compression::Zstd};
            const bool tiles = seed % 3 == 0;
            writeImage(
                m_path, image,
                {.compression = compression[seed % 4], .tileColumns = tiles ? 4U : 0U, .tileRows = tiles ? 3U : 0U});
            EXPECT_EQ(difference(image, *readImage(m_path)), "") << seed;
            EXPECT_EQ(difference(image, *openImage(m_path)), "") << seed;
        }
    }
    for (const Interpretations meaning : {RIX_BINARY, RIX_LABEL}) {
        MemoryImage image = randomImage(RIX_UINT16, {9, 7, 2, 1, 1});
        interpret(image, meaning);
        writeImage(m_path, image);
        EXPECT_EQ(difference(image, *readImage(m_path)), "");
    }
    EXPECT_THAT(m_folder.names(), ElementsAre("a.zarr")) << "something was left over";
}

TEST_F(Zarr, IsWrittenInChunksThatAppearWhole) {
    MemoryImage content = randomImage(RIX_FLOAT32, {40, 30, 3, 1, 2}, 7);
    calibrateFully(content);
    const auto image = createImage(m_path, {.tileColumns = 16, .tileRows = 8});
    const Extents n = extentsOf(content);
    ASSERT_TRUE(image->reserve(RIX_FLOAT32, n[0], n[1], n[2], n[3], n[4]));
    std::vector<std::uint8_t> row(n[0] * 4);
    for (std::size_t i = 0; i < n[1] * n[2] * n[4]; ++i) {
        const std::size_t y = i % n[1];
        const std::size_t z = i / n[1] % n[2];
        const std::size_t c = i / n[1] / n[2];
        ASSERT_TRUE(content.readRowAt(n[0], row.data(), 0, y, z, 0, c));
        ASSERT_TRUE(image->writeRowAt(n[0], row.data(), 0, y, z, 0, c));
    }
    calibrateFully(*image);
    EXPECT_FALSE(std::filesystem::exists(m_path)) << "it is not complete";
    image->close();
    EXPECT_EQ(difference(content, *readImage(m_path)), "");
    EXPECT_EQ(openImage(m_path)->chunkExtents(), (Extents{16, 8, 1, 1, 1}));
    EXPECT_THAT(m_folder.names(), ElementsAre("a.zarr"));
    {
        const auto given = createImage(m_path);
        ASSERT_TRUE(given->reserve(RIX_UINT8, 5, 5, 1, 1, 1));
    }  // given up
    EXPECT_EQ(difference(content, *readImage(m_path)), "") << "an older image stays";
    EXPECT_THAT(m_folder.names(), ElementsAre("a.zarr"));
}

TEST_F(Zarr, ReadsTheChunksOfARegionAndNoOthers) {
    const MemoryImage image = randomImage(RIX_UINT16, {50, 40, 6, 1, 2}, 3);
    writeImage(m_path, image, {.tileColumns = 16, .tileRows = 10});
    const std::vector<std::string> chunks = filesIn(m_path / "0");
    ASSERT_EQ(chunks.size(), 1U + 2 * 6 * 4 * 4);
    // Whichever chunk is damaged without being noticed was not looked at.
    std::size_t needed = 0;
    std::size_t neededOnDisk = 0;
    for (const std::string& chunk : chunks) {
        if (chunk == ".zarray") {
            continue;
        }
        const std::string sound = contentOf(m_path / "0" / chunk);
        putContent(m_path / "0" / chunk, "damaged");
        try {
            readImage(m_path, selecting("x=20:33,y=5:15,z=2:4,c=1"));
        } catch (const LoadingError& error) {
            EXPECT_THAT(error.what(), HasSubstr(chunk));
            ++needed;
        }
        const auto opened = openImage(m_path);
        std::uint8_t row[2 * 20];
        neededOnDisk += opened->readRowAt(20, row, 10, 39, 5, 0, 0) ? 0U : 1U;
        putContent(m_path / "0" / chunk, sound);
    }
    EXPECT_EQ(needed, 2U * 2 * 2) << "columns 16 to 47, rows 0 to 19, planes 2 and 3, channel 1";
    EXPECT_EQ(neededOnDisk, 2U) << "columns 0 to 31 of the last rows";
}

TEST_F(Zarr, HasAPyramidOnRequest) {
    MemoryImage image = randomImage(RIX_UINT8, {601, 300, 4, 1, 1}, 5);
    image.setSpacingOf(PLANS, 3.0);
    image.setOriginOf(COLUMNS, 10.0);
    writeImage(m_path, image, {.pyramid = true});
    EXPECT_EQ(difference(image, *readImage(m_path)), "");
    EXPECT_EQ(readImageInfo(m_path).levels, 3U);
    const auto second = readImage(m_path, selecting("level=2"));
    EXPECT_EQ(extentsOf(*second), (Extents{151, 75, 2, 1, 1})) << "planes are halved when columns lie as far apart";
    EXPECT_EQ(second->getSpacingOf(COLUMNS), 4.0);
    EXPECT_EQ(second->getSpacingOf(PLANS), 6.0);
    EXPECT_EQ(second->getOriginOf(COLUMNS), 11.5);
    const auto first = readImage(m_path, selecting("level=1"));
    const auto whole = samplesOf<std::uint8_t>(image);
    const auto reduced = samplesOf<std::uint8_t>(*first);
    for (std::size_t z = 0; z < 4; ++z) {
        for (std::size_t y = 0; y < 150; ++y) {
            for (std::size_t x = 0; x < 301; ++x) {
                double sum = 0.0;
                int count = 0;
                for (std::size_t i = 0; i < 4; ++i) {
                    if (2 * x + i % 2 < 601) {
                        sum += whole[(z * 300 + 2 * y + i / 2) * 601 + 2 * x + i % 2];
                        ++count;
                    }
                }
                ASSERT_EQ(reduced[(z * 150 + y) * 301 + x], std::floor(sum / count + 0.5)) << x << ' ' << y;
            }
        }
    }
    interpret(image, RIX_LABEL);
    writeImage(m_path, image, {.pyramid = true});
    const auto labels = readImage(m_path, selecting("level=1"));
    EXPECT_EQ(labels->getInterpretation(), RIX_LABEL);
    EXPECT_EQ(samplesOf<std::uint8_t>(*labels)[301 + 7], whole[2 * 601 + 14]);
    EXPECT_EQ(labels->getOriginOf(COLUMNS), 10.0);
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path, selecting("level=3")); }), HasSubstr("it has 3 levels"));
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(m_folder / "a.tif", image, {.pyramid = true}); }),
                HasSubstr("without smaller copies"));
}

TEST_F(Zarr, KeepsLabelsWithinAnImage) {
    const MemoryImage image = randomImage(RIX_UINT16, {9, 7, 1, 1, 1});
    MemoryImage labels = randomImage(RIX_UINT8, {9, 7, 1, 1, 1});
    interpret(labels, RIX_LABEL);
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(m_path / "labels" / "cells", labels); }),
                HasSubstr("there is none at"));
    writeImage(m_path, image);
    for (const char* name : {"cells", "nuclei", "cells"}) {
        writeImage(m_path / "labels" / name, labels);
    }
    EXPECT_EQ(difference(labels, *readImage(m_path / "labels/cells")), "");
    EXPECT_EQ(difference(image, *readImage(m_path)), "");
    EXPECT_THAT(contentOf(m_path / "labels/.zattrs"), AllOf(HasSubstr("cells"), HasSubstr("nuclei")));
    EXPECT_THAT(contentOf(m_path / "labels/cells/.zattrs"), HasSubstr("image-label"));
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path / "labels"); }), HasSubstr("cells"));
}

TEST_F(Zarr, GivesTheSamplesOfLabelsThatCannotBeListed) {
    writeImage(m_path, randomImage(RIX_UINT16, {9, 7, 1, 1, 1}));
    MemoryImage content = randomImage(RIX_UINT8, {9, 7, 1, 1, 1});
    interpret(content, RIX_LABEL);
    globalSettings().setValueAsSize_t("RIX_DISK_CACHE_SIZE", 1);  // nothing stays in memory
    const auto labels = createImage(m_path / "labels" / "cells");
    ASSERT_TRUE(labels->reserve(RIX_UINT8, 9, 7, 1, 1, 1));
    labels->setInterpretation(RIX_LABEL);
    std::uint8_t row[9];
    for (std::size_t y = 0; y < 7; ++y) {
        ASSERT_TRUE(content.readRowAt(9, row, 0, y, 0, 0, 0) && labels->writeRowAt(9, row, 0, y, 0, 0, 0));
    }
    std::filesystem::create_directories(m_path / "labels" / ".zattrs");
    EXPECT_THROW(labels->close(), Exception);
    for (std::size_t y = 0; y < 7; ++y) {
        EXPECT_TRUE(labels->readRowAt(9, row, 0, y, 0, 0, 0)) << y;
    }
    std::filesystem::remove(m_path / "labels" / ".zattrs");
    labels->close();
    globalSettings().remove("RIX_DISK_CACHE_SIZE");
    EXPECT_THAT(contentOf(m_path / "labels/.zattrs"), HasSubstr("cells"));
    EXPECT_EQ(samplesOf<std::uint8_t>(content), samplesOf<std::uint8_t>(*readImage(m_path / "labels" / "cells")));
}

TEST_F(Zarr, ReadsArraysOfOthers) {
    // Chunks that are missing have the value that fills; what chunks have beyond the array counts for nothing.
    putInto(m_path / "0.0", "abcdefghijkl");
    putInto(m_path / "1.1", "mnopqrstuvwx");
    const auto flat = bytesOf({.fill = "46"});
    EXPECT_EQ(std::string(flat.begin(), flat.end()),
              "abcd..."
              "efgh..."
              "ijkl..."
              "....mno"
              "....qrs");
    std::filesystem::remove(m_path / "0.0");
    putInto(m_path / "0/0", "abcdefghijkl");
    const auto nested = bytesOf({.fill = "null", .rest = R"(, "dimension_separator": "/")"});
    EXPECT_EQ(std::string(nested.begin(), nested.begin() + 8), std::string("abcd\0\0\0e", 8));
    // Byte orders, halves, 64 bits.
    const auto valuesOf = [&](const char* type, const std::string& bytes) {
        putInto(m_path / "0", bytes);
        putInto(m_path / ".zarray", RawZarr{.shape = "[2]", .chunks = "[2]", .dtype = type}.text());
        const auto image = readImage(m_path);
        std::vector<double> values(2);
        access::castRowFrom<double>(image->getVoxelType(), image->getInternalBuffer(), values.data(), 2);
        return values;
    };
    std::filesystem::remove_all(m_path);
    using std::string_literals::operator""s;
    EXPECT_THAT(valuesOf(">u2", "\1\2\3\4"s), ElementsAre(0x102, 0x304));
    EXPECT_THAT(valuesOf("<i4", "\xfe\xff\xff\xff\5\0\0\0"s), ElementsAre(-2, 5));
    EXPECT_THAT(valuesOf(">f4", "\x3f\x80\0\0\xc0\0\0\0"s), ElementsAre(1, -2));
    EXPECT_THAT(valuesOf("<f2", "\0\x3c\0\xc0"s), ElementsAre(1, -2));
    EXPECT_THAT(valuesOf("<i8", "\xff\xff\xff\xff\xff\xff\xff\xff\7\0\0\0\0\0\0\0"s), ElementsAre(-1, 7));
    EXPECT_THAT(textOf<LoadingError>([&] { valuesOf("<u8", std::string(8, '\xff') + std::string(8, '\0')); }),
                HasSubstr("18446744073709551615"));
    EXPECT_THAT(valuesOf("|b1", "\1\5"s), ElementsAre(1, 1));
    EXPECT_EQ(readImageInfo(m_path).interpretation, RIX_BINARY);
    std::filesystem::remove(m_path / "0");
    putInto(m_path / ".zarray",
            RawZarr{.shape = "[2]", .chunks = "[9]", .dtype = "<f8", .fill = R"("-Infinity")"}.text());
    EXPECT_EQ(samplesOf<double>(*readImage(m_path))[1], -std::numeric_limits<double>::infinity());
    // Names of axes that xarray notes; four and more axes are told by nothing else.
    const RawZarr four{.shape = "[2, 1, 1, 3]", .chunks = "[2, 1, 1, 3]"};
    putInto(m_path / "0.0.0.0", "abcdef");
    EXPECT_THAT(refusalOf(four), HasSubstr("time, planes, rows and columns"));
    putInto(m_path / ".zattrs", R"({"_ARRAY_DIMENSIONS": ["x", "y", "time", "c"]})");
    EXPECT_EQ(extentsOf(*readImage(m_path)), (Extents{2, 1, 1, 1, 3}));
    const auto turned = bytesOf(four);
    EXPECT_EQ(std::string(turned.begin(), turned.end()), "adbecf");
    EXPECT_EQ(extentsOf(*readImage(m_path, selecting("axes=tczy"))), (Extents{1, 3, 1, 2, 1}));
}

TEST_F(Zarr, TakesCalibrationFromTransformations) {
    putInto(m_path / "0/.zarray", RawZarr{.shape = "[2, 3, 4]", .chunks = "[1, 3, 4]"}.text());
    putInto(m_path / "1/.zarray", RawZarr{.shape = "[2, 1, 2]", .chunks = "[1, 3, 4]"}.text());
    const std::string axes = R"([{"name": "z", "type": "space", "unit": "nanometer"},
        {"name": "y", "type": "space", "unit": "micrometer"}, {"name": "x", "type": "space", "unit": "micrometer"}])";
    const std::string datasets = R"([{"path": "0", "coordinateTransformations":
        [{"type": "scale", "scale": [500, 0.25, 0.5]}, {"type": "translation", "translation": [1000, 2, 3]}]},
        {"path": "1", "coordinateTransformations": [{"type": "scale", "scale": [500, 0.75, 1]}]}])";
    putInto(m_path / ".zattrs",
            attributesOf(axes, datasets, R"(, "coordinateTransformations": [{"type": "scale", "scale": [1, 1, 2]}])"));
    const ImageFileInfo info = readImageInfo(m_path);
    EXPECT_EQ(info.spatialUnitName, "µm");
    EXPECT_EQ(info.spacing, (std::array<double, 5>{1.0, 0.25, 0.5, 1.0, 1.0}));
    EXPECT_EQ(info.origin, (std::array<double, 5>{6.0, 2.0, 1.0, 0.0, 0.0}));
    const ImageFileInfo second = readImageInfo(m_path, selecting("level=1"));
    EXPECT_EQ(second.extents, (Extents{2, 1, 2, 1, 1}));
    EXPECT_EQ(second.spacing[ROWS], 0.75);
    // Doubts are told, and refused where nobody is.
    putInto(m_path / ".zattrs", attributesOf(axes, R"([{"path": "0", "coordinateTransformations":
        [{"type": "scale", "scale": [1, 2]}]}])"));
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path); }), HasSubstr("left out"));
    std::string told;
    EXPECT_EQ(readImageInfo(m_path, {.warn = [&](const String& text) { told = text; }}).spacing[COLUMNS], 1.0);
    EXPECT_THAT(told, HasSubstr("scale"));
    // Axes in versions before.
    putInto(m_path / ".zattrs",
            R"({"multiscales": [{"version": "0.3", "axes": ["t", "y", "x"], "datasets": [{"path": "0"}]}]})");
    EXPECT_EQ(readImageInfo(m_path).extents, (Extents{4, 3, 1, 2, 1}));
    putInto(m_path / "0/.zarray", RawZarr{.shape = "[2, 3, 4, 5, 6]", .chunks = "[1, 3, 4, 5, 6]"}.text());
    putInto(m_path / ".zattrs", R"({"multiscales": [{"datasets": [{"path": "0"}]}]})");
    EXPECT_EQ(readImageInfo(m_path).extents, (Extents{6, 5, 4, 2, 3}));
}

TEST_F(Zarr, RefusesWhatItDoesNotRead) {
    EXPECT_THAT(refusalOf({.order = "F"}), HasSubstr("'order' is \"F\""));
    EXPECT_THAT(refusalOf({.dtype = "<M8"}), HasSubstr("dtype"));
    EXPECT_THAT(refusalOf({.compressor = R"({"id": "lzma"})"}), HasSubstr("blosc, zlib, gzip, zstd"));
    EXPECT_THAT(refusalOf({.shape = "[0, 7]"}), HasSubstr("positive"));
    EXPECT_THAT(refusalOf({.shape = "[1,1,1,1,1,1]", .chunks = "[1,1,1,1,1,1]"}), HasSubstr("1 to 5 axes"));
    EXPECT_THAT(refusalOf({.fill = "300"}), HasSubstr("fill_value"));
    EXPECT_THAT(refusalOf({.rest = R"(, "filters": [{"id": "delta"}])"}), HasSubstr("filters"));
    putInto(m_path / "zarr.json", "{}");
    EXPECT_THAT(refusalOf({}), HasSubstr("version 3"));
    std::filesystem::remove_all(m_path);
    const std::string outside = attributesOf(R"(["y", "x"])", R"([{"path": "../b.zarr"}])");
    putInto(m_path / ".zattrs", outside);
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path); }), HasSubstr("not below its folder"));
    const MemoryImage image = randomImage(RIX_UINT8, {5, 4, 1, 1, 1});
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(m_path, image, {.compression = Compression::Lzw}); }),
                HasSubstr("LZW"));
    putInto(m_folder / "b.zarr", "a file");
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(m_folder / "b.zarr", image); }), HasSubstr("no Zarr image"));
    putInto(m_folder / "c.zarr/thesis.txt", "precious");
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(m_folder / "c.zarr", image); }), HasSubstr("no Zarr image"));
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(m_folder / "missing/a.zarr", image); }), HasSubstr("No folder"));
    putInto(m_folder / "d.zarr/.zattrs", R"({"plate": {}})");
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(m_folder / "d.zarr", image); }), HasSubstr("no Zarr image"));
    EXPECT_THAT(m_folder.names(), ElementsAre("a.zarr", "b.zarr", "c.zarr", "d.zarr"));
}

TEST_F(Zarr, FollowsLinks) {
    const MemoryImage image = randomImage(RIX_UINT8, {5, 4, 1, 1, 1});
    std::filesystem::create_symlink("b.zarr", m_path);
    writeImage(m_path, image);
    EXPECT_TRUE(std::filesystem::is_symlink(m_path));
    EXPECT_EQ(difference(image, *readImage(m_folder / "b.zarr")), "");
    // A chunk that cannot be reached is not one of zeros.
    std::filesystem::remove(m_path / "0/0/0");
    EXPECT_EQ(readImage(m_path)->getInternalBuffer()[0], 0);
    std::filesystem::create_symlink("nowhere", m_path / "0/0/0");
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path); }), HasSubstr("Cannot read the chunk"));
}

TEST_F(Zarr, LevelsOfTurnedImagesLieWhereTheImageDoes) {
    MemoryImage image = randomImage(RIX_UINT8, {600, 10, 1, 1, 1});
    calibrateFully(image);
    writeImage(m_path, image, {.pyramid = true});
    const auto level = readImage(m_path, selecting("level=1"));
    // Half a step of the columns, which run along y, and of the rows, which run against x.
    EXPECT_NEAR(level->getOriginOf(COLUMNS), image.getOriginOf(COLUMNS) - 0.5 * image.getSpacingOf(ROWS), 1e-12);
    EXPECT_NEAR(level->getOriginOf(ROWS), image.getOriginOf(ROWS) + 0.5 * image.getSpacingOf(COLUMNS), 1e-12);
}

}  // namespace
}  // namespace rix::io::test
