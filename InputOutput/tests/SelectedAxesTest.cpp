// What a selection says of the axes of a file, and which of its images it chooses.

#include "ForeignTiff.h"

namespace rix::io::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class NamedAxes : public ForeignTiff {
protected:
    Bytes read(const std::string& selection, const Extents& extents, int warnings = 0) const {
        int told = 0;
        ReadOptions options = selecting(selection);
        options.warn = [&](const String&) { ++told; };
        const auto image = readImage(m_path, options);
        EXPECT_EQ(extentsOf(*image), extents) << selection;
        EXPECT_EQ(readImageInfo(m_path, options).extents, extents) << selection;
        EXPECT_EQ(told, 2 * warnings) << selection;
        return samplesOf<std::uint8_t>(*image);
    }
};

TEST_F(NamedAxes, SayWhatPagesAre) {
    writePages(6, "");
    EXPECT_THAT(read("axes=tyx", {1, 1, 1, 6, 1}), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(read("axes=cz3yx,c=1", {1, 1, 3, 1, 1}), ElementsAre(3, 4, 5));
    EXPECT_THAT(read("axes=z3c2yx", {1, 1, 3, 1, 2}), ElementsAre(0, 2, 4, 1, 3, 5));
    writePages(6, "ImageJ=1.53t\nimages=6\nchannels=2\nslices=3\nspacing=2.5\n");
    EXPECT_THAT(read("axes=tcyx", {1, 1, 1, 3, 2}), ElementsAre(0, 2, 4, 1, 3, 5));  // slices were frames
    EXPECT_THAT(read("axes=zyx", {1, 1, 6, 1, 1}), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(readImageInfo(m_path, selecting("axes=zyx")).spacing[PLANS], 2.5);
    writePages(6, R"({"shape": [2, 3, 1, 1], "axes": "QQYX"})");
    EXPECT_THAT(read("z=1", {1, 1, 1, 1, 1}, 1), ElementsAre(1));
    EXPECT_THAT(read("axes=t2zyx,t=1", {1, 1, 3, 1, 1}), ElementsAre(3, 4, 5));
}

TEST_F(NamedAxes, OfOtherFormats) {
    const auto array = [&](const std::string& shape, const std::string& order) {
        std::string header = "{'descr': '|u1', 'fortran_order': " + order + ", 'shape': " + shape + ", }";
        header.resize(117, ' ');
        putContent(m_path, std::string("\x93NUMPY\1\0\x76\0", 10) + header + '\n' + "abcdefghijklmnopqrstuvwx");
    };
    const auto text = [&](const std::string& selection, const Extents& extents) {
        const Bytes bytes = read(selection, extents);
        return std::string(bytes.begin(), bytes.end());
    };
    array("(4, 2, 3)", "False");
    EXPECT_EQ(text("axes=yxc", {2, 4, 1, 1, 3}), "adgjmpsvbehknqtwcfilorux");
    EXPECT_EQ(text("axes=yxc,c=1,y=2:", {2, 2, 1, 1, 1}), "nqtw");
    EXPECT_EQ(text("axes=tyx,t=-1", {3, 2, 1, 1, 1}), "stuvwx");
    array("(4, 2, 3)", "True");
    EXPECT_EQ(text("axes=tyx,t=0", {3, 2, 1, 1, 1}), "aiqemu");
    array("(2, 2, 1, 2, 3)", "False");
    EXPECT_EQ(text("axes=ctzyx,c=1,t=0", {3, 2, 1, 1, 1}), "mnopqr");
    EXPECT_EQ(text("axes=tcyx,c=1,t=0", {3, 2, 1, 1, 1}), "ghijkl");
    const auto refused = [&](const std::string& selection) {
        return textOf<LoadingError>([&] { readImage(m_path, selecting(selection)); });
    };
    EXPECT_THAT(refused("axes=zyx"), HasSubstr("does not fit the file, whose axes are 2 x 2 x 2 x 3"));
    EXPECT_THAT(refused("axes=tc3yx"), HasSubstr("does not fit"));
    writeImage(m_folder / "a.png", randomImage(RIX_UINT8, {3, 2, 1, 1, 1}));
    EXPECT_EQ(readImage(m_folder / "a.png", selecting("axes=yx"))->getNumOf(ROWS), 2U);
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_folder / "a.png", selecting("axes=zx")); }),
                HasSubstr("leaves out y, of which the image has 2"));
}

TEST_F(NamedAxes, SeriesAreImagesOfOneFile) {
    const auto write = [&](const std::string& description) {
        RawTiff raw(m_path);
        int number = 0;
        for (const int columns : {1, 1, 2, 2, 2}) {
            raw.page(static_cast<std::uint32_t>(columns), 1, 8)
                .block(0, Bytes(static_cast<std::size_t>(columns), static_cast<std::uint8_t>(10 * columns + number)));
            if (number++ == 0) {
                raw.set(TIFFTAG_IMAGEDESCRIPTION, description.c_str());
            }
            raw.endPage();
        }
    };
    write("");
    EXPECT_EQ(readImageInfo(m_path, selecting("series=0")).series, 2U);
    EXPECT_EQ(read("series=0", {1, 1, 2, 1, 1}).size(), 2U);
    EXPECT_EQ(read("series=1,axes=tyx,t=1:,x=0", {1, 1, 1, 2, 1}).size(), 2U);
    EXPECT_THAT(refusal(), AllOf(HasSubstr("The pages make no image: page 1 is 1 x 1"),
                                 HasSubstr("They are 2 images: the selection series=0 chooses the first.")));
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path, selecting("series=2")); }),
                HasSubstr("it has 2 images, series=0 to series=1."));
    const auto pixels = [](const char* sizes, const char* data) {
        return std::string("<Image><Pixels DimensionOrder=\"XYZCT\" SizeY=\"1\" ") + sizes + ">" + data +
               "</Pixels></Image>";
    };
    for (const bool told : {true, false}) {
        write("<OME>" +
              pixels("SizeX=\"1\" SizeZ=\"1\" SizeC=\"1\" SizeT=\"2\"",
                     told ? "<TiffData IFD=\"0\" PlaneCount=\"2\"/>" : "") +
              pixels("SizeX=\"2\" SizeZ=\"1\" SizeC=\"3\" SizeT=\"1\" PhysicalSizeX=\"0.5\"",
                     told ? "<TiffData IFD=\"2\" PlaneCount=\"3\"/>" : "") +
              "</OME>");
        read("series=0", {1, 1, 1, 2, 1});
        read("series=1,c=-2:", {2, 1, 1, 1, 2});
        EXPECT_EQ(readImageInfo(m_path, selecting("series=1")).spacing[COLUMNS], 0.5);
    }
    write("<OME>" + pixels("SizeX=\"1\" SizeZ=\"99999999999\" SizeC=\"99999999999\" SizeT=\"2\"", "") +
          pixels("SizeX=\"2\"", "<TiffData IFD=\"2\" PlaneCount=\"18446744073709551615\"/>") + "</OME>");
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path, selecting("series=0")); }), HasSubstr("too many planes"));
    write("<OME>" + pixels("", "") +
          pixels("SizeX=\"2\"", "<TiffData IFD=\"2\" PlaneCount=\"18446744073709551615\"/>") + "</OME>");
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path, selecting("series=1")); }),
                HasSubstr("a directory that the file doesn't have"));
}

}  // namespace
}  // namespace rix::io::test
