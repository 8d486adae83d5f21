// NRRD, MetaImage, NIfTI, NumPy and PNM: what they keep, and files as other programs write them.

#include "TestImages.h"

namespace rix::io::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

MemoryImage calibratedImage(VoxelTypes type, const Extents& extents, unsigned seed) {
    MemoryImage image = randomImage(type, extents, seed);
    const std::array<double, 5> spacings{0.1, 1.0 / 3.0, 2e-7, 0.04, 12.5};
    const std::array<double, 5> origins{-17.3, 1e9 / 7.0, 0.0, 3.25, -1e-12};
    for (std::size_t axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
        image.setSpacingOf(static_cast<Components>(axis), spacings[axis]);
        image.setOriginOf(static_cast<Components>(axis), origins[axis]);
    }
    image.setSpatialUnitName("µm");
    image.setSequenceUnitName("s \"x\"");
    image.setSpatialDirections({{0.6, 0.8, 0.0}, {-0.8, 0.6, 0.0}, {0.0, 0.0, -1.0}});
    return image;
}

TEST(RawFormats, KeepEveryBitOfAllTypesAxesAndMeanings) {
    const TemporaryFolder folder;
    unsigned seed = 1;
    for (const char* name : {"a.nrrd", "a.nhdr", "a.mha", "a.mhd", "a.nii", "a.nii.gz"}) {
        for (const VoxelTypes type : rix::test::allTypes) {
            for (const Extents& shape : {Extents{1, 1, 1, 1, 1}, Extents{37, 23, 1, 1, 1}, Extents{5, 4, 3, 1, 1},
                                         Extents{6, 5, 1, 4, 1}, Extents{3, 7, 1, 1, 3}, Extents{4, 3, 2, 5, 4}}) {
                for (const Interpretations interpretation : {RIX_BINARY, RIX_LABEL, RIX_VALUE}) {
                    for (const bool compressed : {false, true}) {
                        MemoryImage image = calibratedImage(type, shape, ++seed);
                        interpret(image, interpretation);
                        image.setColorInterpretation(shape[4] >= 3 ? RGB : UNKNOWN);
                        const bool packs = std::string(name).find(".nii") == std::string::npos && compressed;
                        writeImage(folder / name, image,
                                   {.compression = packs ? Compression::Deflate : Compression::FormatDefault});
                        ASSERT_EQ(difference(image, *readImage(folder / name)), "")
                            << name << ' ' << helper::describeImage(image) << (packs ? " packed" : "");
                        EXPECT_EQ(readImageInfo(folder / name).extents, shape);
                    }
                }
            }
        }
    }
}

TEST(RawFormats, NumPyKeepsSamplesAndPnmPictures) {
    const TemporaryFolder folder;
    unsigned seed = 1;
    for (const VoxelTypes type : rix::test::allTypes) {
        for (const Extents& shape : {Extents{1, 1, 1, 1, 1}, Extents{37, 23, 1, 1, 1}, Extents{5, 4, 3, 1, 1}}) {
            const MemoryImage image = randomImage(type, shape, ++seed);
            writeImage(folder / "a.npy", image);
            EXPECT_EQ(difference(image, *readImage(folder / "a.npy")), "");
        }
    }
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16}) {
        for (const Extents& shape : {Extents{37, 5, 1, 1, 1}, Extents{9, 4, 1, 1, 3}}) {
            for (const Interpretations interpretation : {RIX_BINARY, RIX_LABEL, RIX_VALUE}) {
                MemoryImage image = calibratedImage(type, shape, ++seed);
                interpret(image, interpretation);
                image.setColorInterpretation(shape[4] == 3 ? RGB : UNKNOWN);
                writeImage(folder / "a.pnm", image);
                EXPECT_EQ(difference(image, *readImage(folder / "a.pnm")), "") << helper::describeImage(image);
            }
        }
    }
    for (const Extents& shape : {Extents{37, 5, 1, 1, 1}, Extents{9, 4, 1, 1, 3}}) {
        MemoryImage image = randomImage(RIX_UINT8, shape, ++seed);
        image.setColorInterpretation(shape[4] == 3 ? RGB : UNKNOWN);
        writeImage(folder / "a.bmp", image);
        EXPECT_EQ(difference(image, *readImage(folder / "a.bmp")), "");
    }
    MemoryImage binary = randomImage(RIX_UINT8, {9, 4, 1, 1, 1});
    interpret(binary, RIX_BINARY);
    writeImage(folder / "b.npy", binary);
    EXPECT_THAT(contentOf(folder / "b.npy"), HasSubstr("'|b1'"));
    EXPECT_EQ(difference(binary, *readImage(folder / "b.npy")), "");
    writeImage(folder / "b.bmp", binary);
    EXPECT_EQ(difference(binary, *readImage(folder / "b.bmp")), "");
}

TEST(RawFormats, WhatAFormatCannotHoldIsRefusedWithThoseThatCan) {
    const TemporaryFolder folder;
    const MemoryImage calibrated = calibratedImage(RIX_UINT8, {3, 2, 1, 1, 1}, 1);
    const std::string text = textOf<WritingError>([&] { writeImage(folder / "a.npy", calibrated); });
    EXPECT_THAT(text, HasSubstr("no place for what is known of the image: spacing, origin, directions, units."));
    EXPECT_THAT(text, HasSubstr("It can be written as TIFF, OME-TIFF, PNG, NRRD, MetaImage, PNM or NIfTI."));
    writeImage(folder / "a.npy", calibrated, {.dropMetadata = true});
    EXPECT_EQ(readImage(folder / "a.npy")->getSpacingOf(COLUMNS), 1.0);
    const MemoryImage movie = randomImage(RIX_FLOAT32, {3, 2, 1, 5, 1});
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / "a.npy", movie); }),
                HasSubstr("which of their axes is"));
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / "a.ppm", movie); }), HasSubstr("type float32"));
    for (const char* name : {"a.nrrd", "a.mha", "a.ppm"}) {
        EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / name, movie, {.compression = Compression::Zstd}); }),
                    HasSubstr("no Zstandard compression"));
    }
    EXPECT_THAT(
        textOf<WritingError>([&] { writeImage(folder / "a.nii", movie, {.compression = Compression::Deflate}); }),
        HasSubstr("under the extension .nii.gz"));
    EXPECT_THAT(folder.names(), ElementsAre("a.npy"));
}

class ForeignRaw : public testing::Test {
protected:
    /// The samples 1, 2, 3 ... of a type, in the byte order of this machine.
    template <class Sample>
    static std::string counted(std::size_t count) {
        std::string bytes;
        for (std::size_t i = 0; i < count; ++i) {
            const auto sample = static_cast<Sample>(i + 1);
            bytes.append(reinterpret_cast<const char*>(&sample), sizeof(sample));
        }
        return bytes;
    }

    std::string npy(const std::string& dictionary, const std::string& samples) const {
        return std::string("\x93NUMPY\1\0", 8) + static_cast<char>(dictionary.size()) + '\0' + dictionary + samples;
    }

    std::string refusalOf(const std::string& content) const {
        putContent(m_path, content);
        return textOf<LoadingError>([&] { readImage(m_path); });
    }

    const TemporaryFolder m_folder;
    const std::filesystem::path m_path = m_folder / "foreign";
};

TEST_F(ForeignRaw, NumPy) {
    putContent(m_path, npy("{'descr': '<i8', 'fortran_order': True, 'shape': (2, 3), }", counted<std::int64_t>(6)));
    EXPECT_THAT(samplesOf<std::int32_t>(*readImage(m_path)), ElementsAre(1, 3, 5, 2, 4, 6));
    putContent(m_path, npy("{'shape': (2,), 'descr': '>u2', 'fortran_order': False}", std::string("\0\1\1\0", 4)));
    EXPECT_THAT(samplesOf<std::uint16_t>(*readImage(m_path)), ElementsAre(1, 256));
    const std::string four = npy("{'descr': '|u1', 'fortran_order': False, 'shape': (2, 3, 1, 1)}", counted<char>(6));
    EXPECT_THAT(refusalOf(four), HasSubstr("doesn't tell what the 4 axes of the array are"));
    EXPECT_EQ(extentsOf(*readImage(m_path, {.warn = [](const String&) {}})), (Extents{1, 1, 3, 2, 1}));
    const auto refusalOfHeader = [&](const std::string& dictionary) { return refusalOf(npy(dictionary, "12345678")); };
    EXPECT_THAT(refusalOfHeader("{'descr': '<U2', 'fortran_order': False, 'shape': (1,)}"), HasSubstr("type '<U2'"));
    EXPECT_THAT(refusalOfHeader("{'descr': '<f8', 'fortran_order': False, 'shape': (-1,)}"), HasSubstr("shape"));
    EXPECT_THAT(refusalOfHeader("{'descr': '<f8', 'fortran_order': False, 'shape': (9, 9)}"),
                HasSubstr("promises 648"));
    EXPECT_THAT(refusalOfHeader("{'descr': '<f8', 'fortran_order': False, 'shape': (4294967296, 4294967296, 9)}"),
                HasSubstr("64 bits can count"));
    EXPECT_THAT(refusalOfHeader("{'descr': "), HasSubstr("descr"));
}

TEST_F(ForeignRaw, Nrrd) {
    const std::string head = "NRRD0004\n# made elsewhere\nendian: little\nencoding: raw\n";
    putContent(m_path, head +
                           "type: unsigned char\ndimension: 3\nsizes: 3 2 2\nkinds: RGB-color domain domain\n"
                           "space: right-anterior-superior\nspace directions: none (0,2,0) (-3,0,0)\n"
                           "space origin: (1,2,0)\nspace units: \"mm\" \"mm\"\n\n" +
                           counted<char>(12));
    auto image = readImage(m_path);
    EXPECT_EQ(extentsOf(*image), (Extents{2, 2, 1, 1, 3}));
    EXPECT_THAT(samplesOf<std::uint8_t>(*image), ElementsAre(1, 4, 7, 10, 2, 5, 8, 11, 3, 6, 9, 12));
    EXPECT_EQ(image->getColorInterpretation(), RGB);
    EXPECT_EQ(image->getSpacingOf(COLUMNS), 2.0);
    EXPECT_EQ(image->getOriginOf(COLUMNS), -1.0);
    EXPECT_EQ(image->getOriginOf(ROWS), -2.0);
    EXPECT_EQ(image->getSpatialDirections(), (vessel::SpatialDirections{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}));
    putContent(m_path, head +
                           "type: short\ndimension: 4\nsizes: 1 1 2 2\nkinds: space space space time\n"
                           "spacings: 1 1 2.5 0.5\nunits: \"um\" \"um\" \"mm\" \"s\"\n"
                           "data file: beside.raw\nbyte skip: 2\n");
    putContent(m_folder / "beside.raw", "xx" + counted<std::int16_t>(4));
    image = readImage(m_path);
    EXPECT_THAT(samplesOf<std::int16_t>(*image), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(extentsOf(*image), (Extents{1, 1, 2, 2, 1}));
    EXPECT_DOUBLE_EQ(image->getSpacingOf(PLANS), 2500.0);
    EXPECT_EQ(image->getSpacingOf(SEQUENCE), 0.5);
    EXPECT_EQ(image->getSequenceUnitName(), "s");
    const std::string tail = "type: uchar\ndimension: 1\nsizes: 4\n";
    struct Case {
        std::string fields;
        const char* text;
    };
    for (const Case& c :
         {Case{tail + "data file: ../secret\n", "Only files in the folder of the header"},
          Case{tail + "data file: /etc/passwd\n", "Only files in the folder of the header"},
          Case{tail + "data file: missing.raw\n", "does not exist"},
          Case{tail + "data file: LIST\na\n", "in several files"},
          Case{tail + "encoding: bzip2\n\nabcd", "encoded as 'bzip2'"}, Case{tail + "\nabc", "promises 4"},
          Case{tail, "no blank line"}, Case{"dimension: 1\nsizes: 4\n\nabcd", "doesn't tell the type"},
          Case{"type: uchar\ndimension: 2\nsizes: 4\n\nabcd", "sizes: '4'"},
          Case{"type: uchar\ndimension: 4\nsizes: 2 2 2 2\n\n" + std::string(16, 'a'), "what all axes are"},
          Case{tail + "byte skip: 99999999999999999999\n\nabcd", "byteskip"}}) {
        EXPECT_THAT(refusalOf(head + c.fields), HasSubstr(c.text));
    }
    EXPECT_THAT(refusalOf("NRRD0004\n" + std::string(2000000, '#')), HasSubstr("longer than 1048576 bytes"));
}

TEST_F(ForeignRaw, MetaImage) {
    putContent(m_path,
               "ObjectType = Image\nNDims = 2\nBinaryData = True\nElementByteOrderMSB = True\nDimSize = 2 1\n"
               "ElementNumberOfChannels = 2\nElementSpacing = 0.5 -2\nOffset = 3 4\nTransformMatrix = 0 1 -1 0\n"
               "DistanceUnits = um\nElementType = MET_SHORT\nElementDataFile = LOCAL\n" +
                   std::string("\0\1\0\2\0\3\0\4", 8));
    const auto image = readImage(m_path);
    EXPECT_EQ(extentsOf(*image), (Extents{2, 1, 1, 1, 2}));
    EXPECT_THAT(samplesOf<std::int16_t>(*image), ElementsAre(1, 3, 2, 4));
    EXPECT_EQ(image->getSpacingOf(ROWS), 2.0);
    EXPECT_EQ(image->getOriginOf(ROWS), 4.0);
    EXPECT_EQ(image->getSpatialUnitName(), "um");
    EXPECT_EQ(image->getSpatialDirections(), (vessel::SpatialDirections{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}));
    const std::string head = "ObjectType = Image\nNDims = 2\nDimSize = 2 2\nElementType = MET_UCHAR\n";
    for (const auto& [fields, text] :
         {std::pair{"ElementDataFile = ../a.raw\n", "Only files in the folder"},
          std::pair{"ElementDataFile = LIST\n", "in several files"}, std::pair{"", "where the samples are"},
          std::pair{"BinaryData = False\nElementDataFile = LOCAL\n1 2 3 4", "are text"},
          std::pair{"ElementSpacing = 1 x\nElementDataFile = LOCAL\n1234", "ElementSpacing: '1 x'"},
          std::pair{"TransformMatrix = 0 0 0 0\nElementDataFile = LOCAL\n1234", "TransformMatrix"},
          std::pair{"DimSize = 4294967296 4294967296\nElementDataFile = LOCAL\n1234", "64 bits can count"},
          std::pair{"ElementDataFile = LOCAL\n123", "promises 4"}}) {
        EXPECT_THAT(refusalOf(head + fields), HasSubstr(text));
    }
}

}  // namespace
}  // namespace rix::io::test
