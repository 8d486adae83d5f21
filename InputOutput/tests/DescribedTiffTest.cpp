// TIFF stacks whose pages are explained by OME-XML, or by the JSON of Python programs.

#include "ForeignTiff.h"

namespace rix::io::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class DescribedTiff : public ForeignTiff {
protected:
    /// The warning about the file, which is refused with the same text where nobody is told.
    std::string warningOf(int pages) const {
        std::string warning;
        const ReadOptions options{.warn = [&](const String& text) { warning = text; }};
        EXPECT_EQ(extentsOf(*readImage(m_path, options)), (Extents{1, 1, static_cast<std::size_t>(pages), 1, 1}));
        EXPECT_THAT(refusal(), HasSubstr(warning));
        return warning;
    }
};

std::string ome(const std::string& attributes, const std::string& inside = "", const std::string& root = "") {
    return "<?xml version=\"1.0\"?><!-- made elsewhere --><OME "
           "xmlns=\"http://www.openmicroscopy.org/Schemas/OME/2016-06\"" +
           root + "><Image ID=\"Image:0\"><Pixels SizeX=\"1\" SizeY=\"1\" " + attributes + ">" + inside +
           "</Pixels></Image></OME>";
}

constexpr char Sizes[] = "SizeZ=\"3\" SizeC=\"2\" SizeT=\"2\" ";

TEST_F(DescribedTiff, PlanesOfOmeLieWhereItSays) {
    // Samples of the image: columns, rows, planes, frames, channels, the last one slowest.
    writePages(12, ome(std::string(Sizes) + "DimensionOrder=\"XYCZT\"", "<TiffData/>"));
    EXPECT_EQ(readImageInfo(m_path).extents, (Extents{1, 1, 3, 2, 2}));
    EXPECT_THAT(read<std::uint8_t>(), ElementsAre(0, 2, 4, 6, 8, 10, 1, 3, 5, 7, 9, 11));
    writePages(12, ome(std::string(Sizes) + "DimensionOrder=\"XYTZC\""));
    EXPECT_THAT(read<std::uint8_t>(), ElementsAre(0, 2, 4, 1, 3, 5, 6, 8, 10, 7, 9, 11));
    // The frames are stored in the other order.
    writePages(12, ome(std::string(Sizes) + "DimensionOrder=\"XYZCT\"",
                       "<TiffData IFD=\"0\" FirstT=\"1\" PlaneCount=\"6\"/><TiffData IFD=\"6\" PlaneCount=\"6\"/>"));
    EXPECT_THAT(read<std::uint8_t>(), ElementsAre(6, 7, 8, 0, 1, 2, 9, 10, 11, 3, 4, 5));
}

TEST_F(DescribedTiff, UnitsOfOme) {
    const auto infoOf = [&](const std::string& attributes) {
        writePages(2, ome("DimensionOrder=\"XYZCT\" SizeZ=\"2\" SizeC=\"1\" SizeT=\"1\" " + attributes));
        return readImageInfo(m_path);
    };
    ImageFileInfo info = infoOf(
        "PhysicalSizeX=\"0.25\" PhysicalSizeY=\"0.5\" PhysicalSizeZ=\"2\" "
        "PhysicalSizeZUnit=\"nm\" TimeIncrement=\"3\" TimeIncrementUnit=\"min\"");
    EXPECT_EQ(info.spacing, (std::array<double, 5>{0.25, 0.5, 0.002, 3.0, 1.0}));
    EXPECT_EQ(info.spatialUnitName, "µm");
    EXPECT_EQ(info.sequenceUnitName, "min");
    info = infoOf("PhysicalSizeX=\"2\" PhysicalSizeXUnit=\"pixel\"");
    EXPECT_EQ(info.spacing[COLUMNS], 2.0);
    EXPECT_EQ(info.spatialUnitName, "");
}

TEST_F(DescribedTiff, WhatOmeSaysAndTheFileDoesNotKeepIsTold) {
    const std::string order = "DimensionOrder=\"XYCZT\" ";
    const std::string sizes = Sizes + order;
    struct Case {
        std::string description;
        const char* text;
    };
    for (const Case& c :
         {Case{ome(order + "SizeZ=\"4\" SizeC=\"2\" SizeT=\"2\""), "tells of 16 planes; the file has 12 pages"},
          Case{ome("SizeZ=\"4294967296\" SizeC=\"4294967296\" SizeT=\"4\" " + order), "too many planes"},
          Case{ome("SizeZ=\"3\" SizeC=\"x\" SizeT=\"2\" " + order), "SizeC=\"x\", which is no number"},
          Case{ome(std::string(Sizes) + "DimensionOrder=\"XYZZT\""), "order of dimensions 'XYZZT'"},
          Case{ome(sizes, "<Channel SamplesPerPixel=\"3\"/>"), "2 channels, 3 to a page"},
          Case{ome(sizes, "<TiffData IFD=\"1\" PlaneCount=\"12\"/>"), "a directory that the file doesn't have"},
          Case{ome(sizes, "<TiffData IFD=\"0\" PlaneCount=\"13\"/>"), "planes that the image doesn't have"},
          Case{ome(sizes, "<TiffData FirstZ=\"3\"/>"), "a plane that the image doesn't have"},
          Case{ome(sizes, "<TiffData IFD=\"0\"/>"), "tells where 1 of 12 planes are"},
          Case{ome(sizes, "<TiffData/><TiffData/>"), "names a plane twice"},
          Case{ome(sizes, "<TiffData><UUID FileName=\"b.ome.tif\">urn:2</UUID></TiffData>", " UUID=\"urn:1\""),
               "some of its planes are in 'b.ome.tif'"},
          Case{ome(sizes + " PhysicalSizeX=\"1\" PhysicalSizeY=\"1\" PhysicalSizeYUnit=\"ells\""),
               "sizes in 'µm' and 'ells'"},
          Case{"<OME><Image/><Image/></OME>", "describes 2 images"},
          Case{"<OME><BinaryOnly MetadataFile=\"a\"/></OME>", "describes no image; another file"},
          Case{"<OME><Image></OME>", "is damaged"}}) {
        writePages(12, c.description);
        EXPECT_THAT(warningOf(12), HasSubstr(c.text));
        EXPECT_THAT(warningOf(12), HasSubstr("The 12 pages are taken as planes."));
    }
}

TEST_F(DescribedTiff, OmeIsWrittenUnderItsExtension) {
    const auto path = m_folder / "image.ome.tif";
    for (const bool colour : {false, true}) {
        MemoryImage image = randomImage(RIX_UINT16, {4, 3, 2, 5, 3});
        interpret(image, RIX_LABEL);
        image.setColorInterpretation(colour ? RGB : UNKNOWN);
        image.setSpacingOf(COLUMNS, 0.1);
        image.setSpacingOf(SEQUENCE, 1.0 / 3.0);
        image.setOriginOf(ROWS, -7.7);
        image.setSpatialUnitName("micron");
        image.setSequenceUnitName("sec");
        image.setSpatialDirections({{0.6, 0.8, 0.0}, {-0.8, 0.6, 0.0}, {0.0, 0.0, -1.0}});
        writeImage(path, image);
        EXPECT_EQ(difference(image, *readImage(path)), "");
        EXPECT_EQ(readImageInfo(path).format, "OME-TIFF");
        const RawTiff raw(path, "r");
        const char* description = nullptr;
        ASSERT_EQ(TIFFGetField(raw.get(), TIFFTAG_IMAGEDESCRIPTION, &description), 1);
        for (const char* part :
             {"DimensionOrder=\"XYCZT\"", "Type=\"uint16\"", "SizeX=\"4\"", "SizeY=\"3\"", "SizeZ=\"2\"", "SizeC=\"3\"",
              "SizeT=\"5\"", "PhysicalSizeX=\"0.1\"", "PhysicalSizeXUnit=\"µm\"", "TimeIncrementUnit=\"s\"",
              colour ? "SamplesPerPixel=\"3\"" : "PlaneCount=\"30\""}) {
            EXPECT_THAT(description, HasSubstr(part));
        }
    }
}

TEST_F(DescribedTiff, ShapesOfPythonPrograms) {
    writePages(12, R"({"shape": [2, 3, 2, 1, 1], "axes": "TZCYX", "spacing": 2.5, "unit": "um"})");
    EXPECT_THAT(read<std::uint8_t>(), ElementsAre(0, 2, 4, 6, 8, 10, 1, 3, 5, 7, 9, 11));
    EXPECT_EQ(readImageInfo(m_path).spacing[PLANS], 2.5);
    EXPECT_EQ(readImageInfo(m_path).spatialUnitName, "um");
    writePages(12, R"({"shape": [2, 6, 1, 1], "axes": "CTYX"})");
    EXPECT_EQ(readImageInfo(m_path).extents, (Extents{1, 1, 1, 6, 2}));
    EXPECT_EQ(read<std::uint8_t>()[6], 6);
    writePages(12, R"({"shape": [12, 1, 1]})");
    EXPECT_EQ(readImageInfo(m_path).extents, (Extents{1, 1, 12, 1, 1}));
    struct Case {
        const char* description;
        const char* text;
    };
    for (const Case& c : {Case{R"({"shape": [3, 4, 1, 1]})", "doesn't tell what its 2 axes of pages are"},
                          Case{R"({"shape": [3, 4, 1, 1], "axes": "ZAYX"})", "an axis 'A'"},
                          Case{R"({"shape": [3, 4, 1, 1], "axes": "ZZYX"})", "the axis 'Z' twice"},
                          Case{R"({"shape": [12, 1, 1], "axes": "YX"})", "names 2 axes of 3"},
                          Case{R"({"shape": [12, 2, 1]})", "a shape that the pages don't have"},
                          Case{R"({"shape": [11, 1, 1]})", "a shape of 11 pages; the file has 12"},
                          Case{R"({"shape": [12, -1, 1]})", "no list of positive numbers"},
                          Case{R"({"shape": [)", "is damaged JSON"}}) {
        writePages(12, c.description);
        EXPECT_THAT(warningOf(12), HasSubstr(c.text));
    }
}

}  // namespace
}  // namespace rix::io::test
